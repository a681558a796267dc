#include "app/dialogs/FrmCardDavLogin.h"

#include "util/AppInfo.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

FrmCardDavLogin::FrmCardDavLogin(const CardDavLoginRequest& request, QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("FrmCardDavLogin"));
    setWindowTitle(AppInfo::title() + QStringLiteral(" - Anmeldung"));
    auto* layout = new QVBoxLayout(this);
    QString text =
        QStringLiteral("Der Adressbuch-Server '%1' verlangt eine Anmeldung.").arg(request.host);
    if (request.failed)
        text = QStringLiteral("Die Anmeldung am Adressbuch-Server '%1' ist fehlgeschlagen.\n"
                              "Bitte prüfen Sie Benutzername und Kennwort.")
                   .arg(request.host);
    auto* lblMessage = new QLabel(text, this);
    lblMessage->setObjectName(QStringLiteral("lblMessage"));
    lblMessage->setWordWrap(true);
    layout->addWidget(lblMessage);

    auto* form = new QFormLayout;
    txtUser = new QLineEdit(request.user, this);
    txtUser->setObjectName(QStringLiteral("txtUser"));
    txtPassword = new QLineEdit(this);
    txtPassword->setObjectName(QStringLiteral("txtPassword"));
    txtPassword->setEchoMode(QLineEdit::Password);
    form->addRow(QStringLiteral("&Benutzername:"), txtUser);
    form->addRow(QStringLiteral("&Kennwort:"), txtPassword);
    layout->addLayout(form);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    buttons->addButton(QStringLiteral("Abbrechen"), QDialogButtonBox::RejectRole)
        ->setObjectName(QStringLiteral("cmdCancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    if (request.user.isEmpty())
        txtUser->setFocus();
    else
        txtPassword->setFocus();
    setMinimumWidth(360);
}

CardDavLogin FrmCardDavLogin::login() const
{
    return CardDavLogin{txtUser->text().trimmed(), txtPassword->text()};
}

std::optional<CardDavLogin> FrmCardDavLogin::ask(const CardDavLoginRequest& request,
                                                 QWidget* parent)
{
    FrmCardDavLogin dialog(request, parent);
    // The search may have set the busy cursor; typing a password wants the normal one.
    const bool busy = QApplication::overrideCursor() != nullptr;
    if (busy)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
    const int result = dialog.exec();
    if (busy)
        QApplication::restoreOverrideCursor();
    if (result != QDialog::Accepted)
        return std::nullopt;
    return dialog.login();
}
