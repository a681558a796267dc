#pragma once

// What the tests of the options and field assignment dialogs share: a private environment,
// scripted message boxes, the values the dialogs work on (the defaults of a first start), the
// word processor object, and the dialog under test with its controls by name.

#include "DialogTestHelpers.h"
#include "FieldFillHelpers.h"
#include "document/ClsWord.h"
#include "document/widgets/OptionsValues.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"

#include <QPushButton>
#include <memory>

template <class Dialog> class DialogFixture : public QObject
{
protected:
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<ScriptedUserInterface> m_ui;
    OptionsValues m_values;
    FieldAssignmentList m_list;
    QString m_special;
    std::unique_ptr<ClsWord> m_word;
    std::unique_ptr<Dialog> m_dlg;

    template <class T> T* ctl(const char* name)
    {
        return DialogTestHelpers::child<T>(m_dlg.get(), name);
    }
    void click(const char* button) { ctl<QPushButton>(button)->click(); }

    void setUp()
    {
        m_env = std::make_unique<TestEnvironment>();
        m_ui = std::make_unique<ScriptedUserInterface>();
        m_values = OptionsValues();
        m_list.clear();
        SetDefaultFieldAssignments(m_list, m_special);
        m_word = std::make_unique<ClsWord>();
    }
    // Every answer scripted must have been asked for.
    void tearDown()
    {
        m_dlg.reset();
        m_word.reset();
        QCOMPARE(m_ui->pendingAnswers(), 0);
        m_ui.reset();
        m_env.reset();
    }

    // Two rows of one flag: set and not set.
    static void flagRows(const char* column, const char* set, const char* unset)
    {
        QTest::addColumn<bool>(column);
        QTest::newRow(set) << true;
        QTest::newRow(unset) << false;
    }
    // The rows of a question's answer: OK and Cancel.
    static void answerRows(const char* ok, const char* cancel)
    {
        QTest::addColumn<int>("answer");
        QTest::newRow(ok) << int(Mb::Ok);
        QTest::newRow(cancel) << int(Mb::Cancel);
    }
};
