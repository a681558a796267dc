#pragma once

#include "contacts/CardDavSettings.h"

#include <QDialog>
#include <optional>

class QLineEdit;
class QLabel;

// Asks for the user name and password of a CardDAV server, once per server and session;
// the program keeps what worked in the secret store, never in the settings.
class FrmCardDavLogin : public QDialog
{
    Q_OBJECT
public:
    FrmCardDavLogin(const CardDavLoginRequest& request, QWidget* parent = nullptr);

    CardDavLogin login() const;

    // Shows the dialog; none when the user cancels.
    static std::optional<CardDavLogin> ask(const CardDavLoginRequest& request,
                                           QWidget* parent = nullptr);

private:
    QLineEdit* txtUser;
    QLineEdit* txtPassword;
};
