#include "util/UserInterface.h"

#include <QCoreApplication>
#include <cstdio>

namespace
{

class ConsoleUserInterface final : public UserInterface
{
public:
    int msgBox(const QString& text, int style, const QString& title) override
    {
        QString shown = text;
        shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        std::fprintf(stderr, "%s\n", qPrintable(shown));
        switch (Mb::buttonsOf(style)) {
        case Mb::OkCancel:
            return Mb::Cancel;
        case Mb::AbortRetryIgnore:
            return Mb::Abort;
        case Mb::YesNoCancel:
            return Mb::Cancel;
        case Mb::YesNo:
            return Mb::No;
        case Mb::RetryCancel:
            return Mb::Cancel;
        default:
            return Mb::Ok;
        }
    }
    void beep() override {}
    void setHourglass(bool) override {}
    void doEvents() override
    {
        if (QCoreApplication::instance())
            QCoreApplication::processEvents();
    }
};

ConsoleUserInterface g_console;
UserInterface* g_ui = nullptr;

} // namespace

UserInterface& ui()
{
    return g_ui ? *g_ui : g_console;
}

void setUserInterface(UserInterface* impl)
{
    g_ui = impl;
}

int msgBox(const QString& text, int style, const QString& title)
{
    return ui().msgBox(text, style, title);
}
