// The login dialog of a CardDAV server: what the user types comes back, a cancel gives
// nothing, and a refused login says so.

#include "app/dialogs/FrmCardDavLogin.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

class TstFrmCardDavLogin : public QObject
{
    Q_OBJECT

private slots:
    void ask_data()
    {
        QTest::addColumn<QString>("userInAddress");
        QTest::addColumn<bool>("failed");
        QTest::addColumn<QString>("typedUser");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("result"); // "user:password", "-" for none
        auto row = [](const char* name, const char* userInAddress, bool failed,
                      const char* typedUser, const char* button, const char* result) {
            QTest::newRow(name) << QString::fromUtf8(userInAddress) << failed
                                << QString::fromUtf8(typedUser) << QString::fromUtf8(button)
                                << QString::fromUtf8(result);
        };
        row("user from the address, password typed", "anna", false, "", "cmdOK", "anna:geheim");
        row("no user in the address", "", false, "bert", "cmdOK", "bert:geheim");
        row("after a refused login", "anna", true, "", "cmdOK", "anna:geheim");
        row("cancelled", "anna", false, "", "cmdCancel", "-");
    }
    void ask()
    {
        QFETCH(QString, userInAddress);
        QFETCH(bool, failed);
        QFETCH(QString, typedUser);
        QFETCH(QString, button);
        QFETCH(QString, result);
        QString message;
        QTimer::singleShot(0, this, [&] {
            auto* dialog = qobject_cast<FrmCardDavLogin*>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            message = dialog->findChild<QLabel*>(QStringLiteral("lblMessage"))->text();
            auto* user = dialog->findChild<QLineEdit*>(QStringLiteral("txtUser"));
            QCOMPARE(user->text(), userInAddress);
            if (!typedUser.isEmpty())
                QTest::keyClicks(user, typedUser);
            auto* password = dialog->findChild<QLineEdit*>(QStringLiteral("txtPassword"));
            QCOMPARE(password->echoMode(), QLineEdit::Password);
            QTest::keyClicks(password, QStringLiteral("geheim"));
            dialog->findChild<QPushButton*>(button)->click();
        });
        const auto login =
            FrmCardDavLogin::ask({QStringLiteral("dav.example.org:8443"), userInAddress, failed});
        QCOMPARE(login ? login->user + u':' + login->password : QStringLiteral("-"), result);
        QVERIFY(message.contains(QStringLiteral("'dav.example.org:8443'")));
        QCOMPARE(message.contains(QStringLiteral("fehlgeschlagen")), failed);
    }
};

QTEST_MAIN(TstFrmCardDavLogin)
#include "tst_frmcarddavlogin.moc"
