#pragma once

#include <QObject>
#include <functional>

class QWidget;

// F1 anywhere in the program: in a dialog with a help button ("cmdHelp") it presses that
// button; in any other window it asks the window's own handler, if one is registered.
// Installed once on the application, so modal dialogs opened from anywhere are covered.
class HelpKey : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void()>;
    explicit HelpKey(QObject* parent = nullptr);

    // The help of a window without a help button (the main window: the current step's topic).
    void setHandler(QWidget* window, Handler handler);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* m_window = nullptr;
    Handler m_handler;
};
