#include "util/widgets/QtUserInterface.h"

#include "util/AppInfo.h"

#include <QApplication>
#include <QMessageBox>

int QtUserInterface::msgBox(const QString& text, int style, const QString& title)
{
    // Before the main window is up only the splash shows, and it stays on top: a box of
    // its own would open beneath it. As the splash's child it opens above.
    QWidget* parent = QApplication::activeWindow();
    if (!parent) {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->isVisible() && w->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) {
                parent = w;
                break;
            }
    }
    QMessageBox box(parent);
    if (parent && parent->windowFlags().testFlag(Qt::WindowStaysOnTopHint))
        box.setWindowFlag(Qt::WindowStaysOnTopHint);
    box.setWindowTitle(title.isEmpty() ? AppInfo::title() : title);
    // The logic composes its texts with CR LF; a box shows each as one line break.
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    box.setText(shown);
    switch (Mb::iconOf(style)) {
    case Mb::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case Mb::Question:
        box.setIcon(QMessageBox::Question);
        break;
    case Mb::Exclamation:
        box.setIcon(QMessageBox::Warning);
        break;
    case Mb::Information:
        box.setIcon(QMessageBox::Information);
        break;
    default:
        box.setIcon(QMessageBox::NoIcon);
    }

    struct Choice {
        QMessageBox::StandardButton button;
        int answer;
    };
    QList<Choice> choices;
    switch (Mb::buttonsOf(style)) {
    case Mb::OkCancel:
        choices = {{QMessageBox::Ok, Mb::Ok}, {QMessageBox::Cancel, Mb::Cancel}};
        break;
    case Mb::AbortRetryIgnore:
        choices = {{QMessageBox::Abort, Mb::Abort},
                   {QMessageBox::Retry, Mb::Retry},
                   {QMessageBox::Ignore, Mb::Ignore}};
        break;
    case Mb::YesNoCancel:
        choices = {{QMessageBox::Yes, Mb::Yes},
                   {QMessageBox::No, Mb::No},
                   {QMessageBox::Cancel, Mb::Cancel}};
        break;
    case Mb::YesNo:
        choices = {{QMessageBox::Yes, Mb::Yes}, {QMessageBox::No, Mb::No}};
        break;
    case Mb::RetryCancel:
        choices = {{QMessageBox::Retry, Mb::Retry}, {QMessageBox::Cancel, Mb::Cancel}};
        break;
    default:
        choices = {{QMessageBox::Ok, Mb::Ok}};
    }
    QMessageBox::StandardButtons buttons;
    for (const Choice& c : choices)
        buttons |= c.button;
    box.setStandardButtons(buttons);
    const int defaultIndex = (style & Mb::DefaultButton3)   ? 2
                             : (style & Mb::DefaultButton2) ? 1
                                                            : 0;
    if (defaultIndex < choices.size())
        box.setDefaultButton(choices[defaultIndex].button);

    // A busy pointer must not hide that the program waits for an answer.
    const bool wasBusy = m_busy;
    if (wasBusy)
        QApplication::restoreOverrideCursor();
    const int pressed = box.exec();
    if (wasBusy)
        QApplication::setOverrideCursor(Qt::WaitCursor);

    for (const Choice& c : choices)
        if (c.button == pressed)
            return c.answer;
    // Closed with Escape or the close box: the cancelling answer.
    for (const Choice& c : choices)
        if (c.answer == Mb::Cancel || c.answer == Mb::No)
            return c.answer;
    return choices.first().answer;
}

void QtUserInterface::beep()
{
    QApplication::beep();
}

void QtUserInterface::setHourglass(bool on)
{
    if (on == m_busy)
        return;
    m_busy = on;
    if (on)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void QtUserInterface::doEvents()
{
    QCoreApplication::processEvents();
}
