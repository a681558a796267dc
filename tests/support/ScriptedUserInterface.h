#pragma once

#include "util/UserInterface.h"

#include <QList>
#include <QString>
#include <functional>

// Records every message box and answers from a prepared queue. A box with no answer
// prepared fails the running test (and is answered as the console would).
// Installed on construction, the previous seam restored on destruction.
class ScriptedUserInterface final : public UserInterface
{
public:
    struct Box {
        QString text;
        QString title;
        int style = 0;
        int icon() const { return Mb::iconOf(style); }
        int buttons() const { return Mb::buttonsOf(style); }
    };

    ScriptedUserInterface();
    ~ScriptedUserInterface() override;

    // Queues the answer to the next box. An optional action runs while the box is
    // "open" (e.g. to click something as a user could not, or to inspect widgets).
    void answer(int answer, std::function<void()> whileOpen = {});
    // Lets boxes without a prepared answer pass (answered as the console would).
    void setLenient(bool lenient) { m_lenient = lenient; }

    const QList<Box>& boxes() const { return m_boxes; }
    QList<Box> takeBoxes();
    int pendingAnswers() const { return int(m_answers.size()); }
    int beeps() const { return m_beeps; }
    bool hourglass() const { return m_hourglass; }
    int doEventsCalls() const { return m_doEvents; }
    // Runs during doEvents(), e.g. to click an abort button while a loop runs.
    void onDoEvents(std::function<void()> hook) { m_doEventsHook = std::move(hook); }

    int msgBox(const QString& text, int style, const QString& title) override;
    void beep() override { ++m_beeps; }
    void setHourglass(bool on) override { m_hourglass = on; }
    void doEvents() override;

private:
    struct Prepared {
        int answer;
        std::function<void()> whileOpen;
    };
    QList<Box> m_boxes;
    QList<Prepared> m_answers;
    bool m_lenient = false;
    int m_beeps = 0;
    bool m_hourglass = false;
    int m_doEvents = 0;
    std::function<void()> m_doEventsHook;
    bool m_inHook = false;
};
