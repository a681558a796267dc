#pragma once

#include <QWidget>

class QTextBrowser;
class QToolButton;

// The program's own help window: one per run, reused for every topic. It shows HTML help
// pages and jumps to anchors. Object names: "frmHelp", the page "txtHelp", the buttons
// "cmdBack", "cmdForward", "cmdContents".
class HelpWindow : public QWidget
{
    Q_OBJECT
public:
    // The window of this run, created on first use.
    static HelpWindow* instance();
    // The window if it has been created, else nullptr.
    static HelpWindow* existing();

    // Shows file, at the anchor when one is given, else at its top, and brings the window
    // to the front.
    void showTopic(const QString& file, const QString& anchor);

    QTextBrowser* browser() const { return m_browser; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // A modal dialog blocks every window outside its own family: while one runs, the help
    // window joins it (as a window of its own) and leaves again when the dialog closes.
    void followModalDialog();
    // Keeps the whole window on the screen it is shown on.
    void placeOnScreen();

    explicit HelpWindow(QWidget* parent = nullptr);

    QTextBrowser* m_browser;
    QToolButton* m_back;
    QToolButton* m_forward;
    QToolButton* m_contents;
};
