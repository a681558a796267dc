#include "util/widgets/HelpKey.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QWidget>

HelpKey::HelpKey(QObject* parent) : QObject(parent) {}

void HelpKey::setHandler(QWidget* window, Handler handler)
{
    m_window = window;
    m_handler = std::move(handler);
}

bool HelpKey::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || static_cast<QKeyEvent*>(event)->key() != Qt::Key_F1 ||
        !watched->isWidgetType())
        return QObject::eventFilter(watched, event);
    QWidget* window = static_cast<QWidget*>(watched)->window();
    if (auto* help = window->findChild<QPushButton*>(QStringLiteral("cmdHelp"))) {
        if (help->isEnabled() && help->window() == window) {
            help->click();
            return true;
        }
    }
    if (window == m_window && m_handler) {
        m_handler();
        return true;
    }
    return QObject::eventFilter(watched, event);
}
