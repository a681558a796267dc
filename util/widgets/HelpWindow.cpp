#include "util/widgets/HelpWindow.h"

#include "util/AppInfo.h"

#include <QApplication>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>
#include <QTextBrowser>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace
{
QPointer<HelpWindow> g_window;
}

HelpWindow* HelpWindow::instance()
{
    if (!g_window) {
        g_window = new HelpWindow;
        // The window has no parent; it goes when the program ends.
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit,
                         g_window.data(), &QObject::deleteLater);
    }
    return g_window;
}

HelpWindow* HelpWindow::existing()
{
    return g_window;
}

HelpWindow::HelpWindow(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("frmHelp"));
    setWindowTitle(AppInfo::title() + QStringLiteral(" - Hilfe"));
    resize(640, 560);

    m_back = new QToolButton(this);
    m_back->setObjectName(QStringLiteral("cmdBack"));
    m_back->setText(QStringLiteral("Zurück"));
    m_back->setEnabled(false);
    m_forward = new QToolButton(this);
    m_forward->setObjectName(QStringLiteral("cmdForward"));
    m_forward->setText(QStringLiteral("Vorwärts"));
    m_forward->setEnabled(false);
    m_contents = new QToolButton(this);
    m_contents->setObjectName(QStringLiteral("cmdContents"));
    m_contents->setText(QStringLiteral("Inhalt"));

    m_browser = new QTextBrowser(this);
    m_browser->setObjectName(QStringLiteral("txtHelp"));
    // Links to web pages go to the browser; links inside the help stay here.
    m_browser->setOpenExternalLinks(true);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_back);
    buttons->addWidget(m_forward);
    buttons->addWidget(m_contents);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addWidget(m_browser);

    connect(m_back, &QToolButton::clicked, m_browser, &QTextBrowser::backward);
    connect(m_forward, &QToolButton::clicked, m_browser, &QTextBrowser::forward);
    connect(m_browser, &QTextBrowser::backwardAvailable, m_back, &QToolButton::setEnabled);
    connect(m_browser, &QTextBrowser::forwardAvailable, m_forward, &QToolButton::setEnabled);
    connect(m_contents, &QToolButton::clicked, this, [this] {
        QUrl top = m_browser->source();
        top.setFragment(QString());
        showTopic(top.toLocalFile(), QString());
    });
}

void HelpWindow::showTopic(const QString& file, const QString& anchor)
{
    QUrl url = QUrl::fromLocalFile(file);
    if (!anchor.isEmpty())
        url.setFragment(anchor);
    m_browser->setSource(url, QTextDocument::HtmlResource);
    followModalDialog();
    const bool firstShow = !isVisible();
    show();
    if (firstShow)
        placeOnScreen();
    raise();
    activateWindow();
    // Once shown the page is laid out, so the jump lands where it should.
    if (anchor.isEmpty())
        m_browser->verticalScrollBar()->setValue(0);
    else
        m_browser->scrollToAnchor(anchor);
}

void HelpWindow::followModalDialog()
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal || modal == this || parentWidget() == modal)
        return;
    const QRect frame = geometry();
    const bool shown = isVisible();
    setParent(modal, Qt::Window);
    setGeometry(frame);
    if (shown)
        show();
    modal->installEventFilter(this);
}

bool HelpWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Hide) {
        // The dialog closes: the help stays open on its own, not in the dialog's grave.
        watched->removeEventFilter(this);
        const QRect frame = geometry();
        const bool shown = isVisible();
        setParent(nullptr, Qt::Window);
        setGeometry(frame);
        if (shown)
            show();
    }
    return QWidget::eventFilter(watched, event);
}

void HelpWindow::placeOnScreen()
{
    QWidget* anchor = QApplication::activeWindow();
    QScreen* screen = anchor && anchor != this ? anchor->screen() : this->screen();
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    QSize size = this->size().boundedTo(area.size() - QSize(40, 60));
    resize(size);
    QRect frame = frameGeometry();
    if (anchor && anchor != this)
        frame.moveCenter(anchor->frameGeometry().center());
    else
        frame.moveCenter(area.center());
    // Pushed back inside the available area, the title bar first.
    if (frame.right() > area.right())
        frame.moveRight(area.right());
    if (frame.bottom() > area.bottom())
        frame.moveBottom(area.bottom());
    if (frame.left() < area.left())
        frame.moveLeft(area.left());
    if (frame.top() < area.top())
        frame.moveTop(area.top());
    move(frame.topLeft());
}
