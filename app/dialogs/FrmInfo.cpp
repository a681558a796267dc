#include "app/dialogs/FrmInfo.h"

#include "util/AppInfo.h"
#include "util/SystemNames.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTimer>
#include <QVBoxLayout>

namespace
{

QString systemText()
{
    // The registry's Windows description names Windows NT and a build on every system; here
    // the system describes itself.
    const QString os = QSysInfo::prettyProductName() + QStringLiteral(" (") +
                       QSysInfo::kernelType() + QLatin1Char(' ') + QSysInfo::kernelVersion() +
                       QLatin1Char(')');
    return QStringLiteral("System: %1\nComputer: %2\nBenutzer: %3\nQt: %4")
        .arg(os, VuGetComputerName(), VuGetLoginName(), QString::fromLatin1(qVersion()));
}

} // namespace

FrmInfo::FrmInfo(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("FrmInfo"));
    setWindowTitle(QStringLiteral("Info über ") + AppInfo::title());

    m_icon = new QLabel(this);
    m_icon->setObjectName(QStringLiteral("imgIcon"));
    auto* title = new QLabel(AppInfo::title(), this);
    QFont big = title->font();
    big.setPointSize(big.pointSize() + 6);
    big.setBold(true);
    title->setFont(big);
    auto* version = new QLabel(QStringLiteral("Version ") + AppInfo::versionText(), this);
    version->setObjectName(QStringLiteral("lblVersion"));

    m_mark = new QLabel(QStringLiteral("in Arbeit"), this);
    m_mark->setObjectName(QStringLiteral("lblUnderConstruction"));
    m_mark->setStyleSheet(QStringLiteral("QLabel { background: #f5c518; color: black; "
                                         "border: 1px solid #333; padding: 1px 6px; }"));
    m_mark->hide();
    m_markCaption = new QLabel(this);
    m_markCaption->setObjectName(QStringLiteral("lblUnderConstructionCaption"));
    m_blink = new QTimer(this);
    m_blink->setInterval(500);
    connect(m_blink, &QTimer::timeout, this, [this] { m_mark->setVisible(!m_mark->isVisible()); });

    m_history = new QPlainTextEdit(this);
    m_history->setObjectName(QStringLiteral("txtHistory"));
    m_history->setReadOnly(true);
    m_history->setMinimumSize(420, 90);
    m_freeText = new QLabel(this);
    m_freeText->setObjectName(QStringLiteral("lblFreeText"));
    auto* sys = new QLabel(systemText(), this);
    sys->setObjectName(QStringLiteral("lblSystem"));
    sys->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* head = new QGridLayout;
    head->addWidget(m_icon, 0, 0, 2, 1, Qt::AlignTop);
    head->addWidget(title, 0, 1);
    head->addWidget(version, 1, 1);
    auto* markRow = new QHBoxLayout;
    markRow->addWidget(m_mark);
    markRow->addWidget(m_markCaption);
    markRow->addStretch(1);
    head->addLayout(markRow, 0, 2, Qt::AlignRight | Qt::AlignTop);
    head->setColumnStretch(1, 1);

    auto* v = new QVBoxLayout(this);
    v->addLayout(head);
    v->addWidget(new QLabel(QStringLiteral("Versionen:"), this));
    v->addWidget(m_history, 1);
    v->addWidget(m_freeText);
    v->addWidget(sys);
    v->addWidget(buttons);
}

QString FrmInfo::releaseHistory()
{
    return QStringLiteral(
        "02.04.99  V1.0.0  Erste Version: Outlook-Kontakt in eine Word-Vorlage übertragen\n"
        "24.04.99  V1.1.0  Feldzuordnung je Vorlage, Spezialfelder und Optionen\n"
        "22.05.99  V1.2.0  Kontaktsuche mit Trefferliste, Vorschau von Anschrift und Anrede");
}

void FrmInfo::setRevisionHistory(const QString& text)
{
    m_history->setPlainText(text);
}

QString FrmInfo::revisionHistory() const
{
    return m_history->toPlainText();
}

void FrmInfo::setUnderConstructionBlinking(bool on)
{
    if (on) {
        m_mark->show();
        m_blink->start();
    } else {
        m_blink->stop();
        m_mark->hide();
    }
}

bool FrmInfo::underConstructionBlinking() const
{
    return m_blink->isActive();
}

void FrmInfo::setFreeText(const QString& text)
{
    m_freeText->setText(text);
}

QString FrmInfo::freeText() const
{
    return m_freeText->text();
}

void FrmInfo::setUnderConstructionCaption(const QString& text)
{
    m_markCaption->setText(text);
    m_markCaption->setVisible(!text.isEmpty());
}

void FrmInfo::setIcon(const QIcon& icon)
{
    m_icon->setPixmap(icon.pixmap(48, 48));
}
