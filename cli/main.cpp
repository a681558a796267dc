// zettelwerk-cli: the transfer of a contact into a template without the wizard. No window, no
// questions: see `zettelwerk-cli --hilfe`.
#include "cli/ZettelwerkCli.h"

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    ZettelwerkCli cli;
    return cli.run(QCoreApplication::arguments());
}
