#include "tests/support/ScriptedUserInterface.h"

#include <QCoreApplication>
#include <QTest>

ScriptedUserInterface::ScriptedUserInterface()
{
    setUserInterface(this);
}

ScriptedUserInterface::~ScriptedUserInterface()
{
    setUserInterface(nullptr);
}

void ScriptedUserInterface::answer(int answer, std::function<void()> whileOpen)
{
    m_answers.append({answer, std::move(whileOpen)});
}

QList<ScriptedUserInterface::Box> ScriptedUserInterface::takeBoxes()
{
    QList<Box> taken;
    taken.swap(m_boxes);
    return taken;
}

int ScriptedUserInterface::msgBox(const QString& text, int style, const QString& title)
{
    m_boxes.append({text, title, style});
    if (!m_answers.isEmpty()) {
        Prepared next = m_answers.takeFirst();
        if (next.whileOpen)
            next.whileOpen();
        return next.answer;
    }
    if (!m_lenient) {
        const QByteArray msg = "unexpected message box: " + text.toUtf8();
        QTest::qFail(msg.constData(), __FILE__, __LINE__);
    }
    switch (Mb::buttonsOf(style)) {
    case Mb::OkCancel:
    case Mb::YesNoCancel:
    case Mb::RetryCancel:
        return Mb::Cancel;
    case Mb::YesNo:
        return Mb::No;
    case Mb::AbortRetryIgnore:
        return Mb::Abort;
    default:
        return Mb::Ok;
    }
}

void ScriptedUserInterface::doEvents()
{
    ++m_doEvents;
    if (QCoreApplication::instance())
        QCoreApplication::processEvents();
    if (m_doEventsHook && !m_inHook) {
        m_inHook = true;
        m_doEventsHook();
        m_inHook = false;
    }
}
