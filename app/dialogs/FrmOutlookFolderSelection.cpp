#include "app/dialogs/FrmOutlookFolderSelection.h"

#include "contacts/OlFolder.h"
#include "contacts/OlNameSpace.h"
#include "util/ErrorRoutine.h"
#include "util/UserInterface.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <utility>

namespace
{

const QString kRoot = QStringLiteral("Root");
const QString kRootPrefix = QStringLiteral("Root\\");
constexpr int KeyRole = Qt::UserRole;
constexpr int MessageClassRole = Qt::UserRole + 1;

QString keyOf(const QTreeWidgetItem* node)
{
    return node->data(0, KeyRole).toString();
}

// The folder of that name among folders: exactly first, else without regard to case, as
// Outlook's Folders.Item does.
std::shared_ptr<OlFolder> named(const QList<std::shared_ptr<OlFolder>>& folders,
                                const QString& name)
{
    for (const auto& folder : folders)
        if (folder->Name() == name)
            return folder;
    for (const auto& folder : folders)
        if (folder->Name().compare(name, Qt::CaseInsensitive) == 0)
            return folder;
    return nullptr;
}

QTreeWidgetItem* childNamed(QTreeWidgetItem* node, const QString& name)
{
    for (int i = 0; i < node->childCount(); ++i)
        if (node->child(i)->text(0) == name)
            return node->child(i);
    for (int i = 0; i < node->childCount(); ++i)
        if (node->child(i)->text(0).compare(name, Qt::CaseInsensitive) == 0)
            return node->child(i);
    return nullptr;
}

} // namespace

FrmOutlookFolderSelection::FrmOutlookFolderSelection(std::shared_ptr<OlNameSpace> nameSpace,
                                                     const QString& currentPath, QWidget* parent)
    : QDialog(parent), m_nameSpace(std::move(nameSpace))
{
    setObjectName(QStringLiteral("FrmOutlookFolderSelection"));
    setWindowTitle(QStringLiteral("Outlook-Ordner auswählen"));

    tvTreeView = new QTreeWidget(this);
    tvTreeView->setObjectName(QStringLiteral("tvTreeView"));
    tvTreeView->setHeaderHidden(true);
    tvTreeView->setColumnCount(1);
    tvTreeView->setUniformRowHeights(true);
    lblPath = new QLabel(this);
    lblPath->setObjectName(QStringLiteral("lblPath"));
    lblPath->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblPath->setMinimumWidth(1); // a long path must not widen the dialog
    lblMessageClassLabel = new QLabel(QStringLiteral("Ordner enthält:"), this);
    lblMessageClassLabel->setObjectName(QStringLiteral("lblMessageClassLabel"));
    lblMessageClass = new QLabel(this);
    lblMessageClass->setObjectName(QStringLiteral("lblMessageClass"));
    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Abbrechen"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    // The tree takes the free area; the labels follow below it, the buttons keep their own
    // widths at the right-hand edge.
    auto* classRow = new QHBoxLayout;
    classRow->addWidget(lblMessageClassLabel);
    classRow->addWidget(lblMessageClass, 1);
    auto* left = new QVBoxLayout;
    left->addWidget(tvTreeView, 1);
    left->addWidget(lblPath);
    left->addLayout(classRow);
    auto* right = new QVBoxLayout;
    right->addWidget(cmdOK);
    right->addWidget(cmdCancel);
    right->addStretch(1);
    auto* layout = new QHBoxLayout(this);
    layout->addLayout(left, 1);
    layout->addLayout(right);
    resize(480, 420);

    // A click on another node changes the current node first and then reports the click:
    // the node is handled once. A click on the current node is handled again.
    connect(tvTreeView, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* node) {
        m_justSelected = node;
        tvTreeView_NodeClick(node);
    });
    connect(tvTreeView, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* node) {
        if (std::exchange(m_justSelected, nullptr) != node)
            tvTreeView_NodeClick(node);
    });
    // Opening a branch by its arrow reads it as selecting it would.
    connect(tvTreeView, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem* node) {
        if (node->childCount() == 0)
            vuTrap(QStringLiteral("tvTreeView_Expand"), [&] { addSubFolders(node); });
    });
    connect(cmdOK, &QPushButton::clicked, this, &FrmOutlookFolderSelection::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);

    // Nothing is chosen until a folder is selected.
    cmdOK->setEnabled(false);
    Form_Load();
    selectPath(currentPath);
}

FrmOutlookFolderSelection::~FrmOutlookFolderSelection() = default;

void FrmOutlookFolderSelection::setValidMessageClass(const QString& messageClass)
{
    m_validMessageClass = messageClass.isEmpty() ? QString() : messageClassLabel(messageClass);
}

QString FrmOutlookFolderSelection::messageClassLabel(const QString& messageClass)
{
    static const QList<std::pair<QString, QString>> labels = {
        {QStringLiteral("IPM.Activity"), QStringLiteral("Journal")},
        {QStringLiteral("IPM.Note"), QStringLiteral("Nachrichten")},
        {QStringLiteral("IPM.Contact"), QStringLiteral("Kontakte")},
        {QStringLiteral("IPM.Task"), QStringLiteral("Aufgaben")},
        {QStringLiteral("IPM.StickyNote"), QStringLiteral("Notizen")},
        {QStringLiteral("IPM.Appointment"), QStringLiteral("Kalender")},
    };
    for (const auto& [cls, label] : labels)
        if (cls == messageClass)
            return label;
    return messageClass;
}

void FrmOutlookFolderSelection::ClearTree()
{
    const QSignalBlocker block(tvTreeView);
    tvTreeView->clear();
}

void FrmOutlookFolderSelection::Form_Load()
{
    vuTrap(QStringLiteral("Form_Load"), [&] {
        ClearTree();
        auto* root = new QTreeWidgetItem(tvTreeView, {kRoot});
        root->setData(0, KeyRole, kRoot);
        root->setIcon(0, style()->standardIcon(QStyle::SP_ComputerIcon));
        addSubFolders(root);
    });
}

void FrmOutlookFolderSelection::addSubFolders(QTreeWidgetItem* node)
{
    const QString path = keyOf(node);
    if (path.startsWith(QLatin1Char(' ')))
        return;
    QList<std::shared_ptr<OlFolder>> folders;
    if (path == kRoot) {
        if (m_nameSpace)
            folders = m_nameSpace->Folders();
    } else if (const auto folder = folderByPath(path)) {
        folders = folder->Folders();
    }
    const QIcon icon =
        style()->standardIcon(node->parent() ? QStyle::SP_DirIcon : QStyle::SP_DriveHDIcon);
    for (const auto& folder : folders) {
        const QString key = path + QLatin1Char('\\') + folder->Name();
        // A retried load keeps what an earlier attempt added.
        bool present = false;
        for (int i = 0; i < node->childCount() && !present; ++i)
            present = keyOf(node->child(i)) == key;
        if (present)
            continue;
        auto* child = new QTreeWidgetItem(node, {folder->Name()});
        child->setData(0, KeyRole, key);
        child->setData(0, MessageClassRole, folder->DefaultMessageClass());
        child->setIcon(0, icon);
        // Not read yet: it may have sub-folders, so it offers to open.
        child->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    }
    node->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicatorWhenChildless);
    const QSignalBlocker block(tvTreeView); // already read: no second read on expanding
    node->setExpanded(true);
}

std::shared_ptr<OlFolder> FrmOutlookFolderSelection::folderByPath(const QString& path) const
{
    QString rest = path;
    if (rest.startsWith(kRootPrefix))
        rest = rest.mid(kRootPrefix.size());
    if (rest.isEmpty() || !m_nameSpace)
        return nullptr;
    const QStringList parts = rest.split(QLatin1Char('\\'));
    std::shared_ptr<OlFolder> folder = named(m_nameSpace->Folders(), parts.first());
    for (qsizetype i = 1; folder && i < parts.size(); ++i)
        folder = named(folder->Folders(), parts[i]);
    return folder;
}

void FrmOutlookFolderSelection::selectPath(const QString& path)
{
    QString rest = path;
    if (rest.startsWith(kRootPrefix))
        rest = rest.mid(kRootPrefix.size());
    if (rest.isEmpty() || tvTreeView->topLevelItemCount() == 0)
        return;
    QTreeWidgetItem* node = tvTreeView->topLevelItem(0);
    for (const QString& part : rest.split(QLatin1Char('\\'))) {
        QTreeWidgetItem* child = childNamed(node, part);
        if (!child)
            break;
        // Selecting loads the node's sub-folders, so the next part can be found.
        tvTreeView->setCurrentItem(child);
        node = child;
    }
    tvTreeView->scrollToItem(node);
}

void FrmOutlookFolderSelection::tvTreeView_NodeClick(QTreeWidgetItem* node)
{
    if (!node)
        return;
    vuTrap(QStringLiteral("tvTreeView_NodeClick"), [&] {
        cmdOK->setEnabled(false);
        lblPath->clear();
        QString path = keyOf(node);
        // Each branch is read from the session the first time it is selected.
        if (!path.isEmpty() && node->childCount() == 0)
            addSubFolders(node);
        path = path.mid(kRootPrefix.size());
        if (path.isEmpty()) {
            // The root itself is no folder and cannot be chosen.
            lblMessageClass->clear();
            return;
        }
        const auto folder = folderByPath(path);
        lblMessageClass->setText(folder ? messageClassLabel(folder->DefaultMessageClass())
                                        : QString());
        cmdOK->setEnabled(true);
        lblPath->setText(path);
        m_fullPath = path;
    });
}

void FrmOutlookFolderSelection::cmdOK_Click()
{
    if (!m_validMessageClass.isEmpty() && lblMessageClass->text() != m_validMessageClass) {
        msgBox(QStringLiteral("Dieser Ordner enthält keine zulässigen Elemente!\r\n"
                              "Wählen Sie einen Ordner, der ") +
                   m_validMessageClass + QStringLiteral("-Elemente beinhaltet!"),
               Mb::OkOnly + Mb::Exclamation);
        return;
    }
    m_okPressed = true;
    accept();
}
