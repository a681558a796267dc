// The transfer of the main window: the chosen contact into a new document from the chosen
// template.

#include "app/FrmMain.h"

#include "app/Settings.h"
#include "document/ClsWord.h"
#include "document/DocumentErrors.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "util/ErrorRoutine.h"
#include "util/TextUtil.h"
#include "util/UserInterface.h"

#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QTabWidget>

void FrmMain::cmdFinish_Click()
{
    bool finished = false;
    vuTrap(QStringLiteral("cmdFinish_Click"), [&] {
        finished = false;
        if (lblName->text().isEmpty()) {
            const int answer =
                msgBox(QStringLiteral("Es ist kein Outlook-Kontakt ausgewählt, d.h. keine "
                                      "Adressdaten verfügbar!\r\n\r\n"
                                      "Möchten Sie trotzdem zu Word übertragen?"),
                       Mb::OkCancel + Mb::Question);
            if (answer != Mb::Ok)
                return;
        }

        const int position = selectedDotFileRow() + 1;
        if (position < 1) {
            tabMain->setCurrentIndex(1);
            msgBox(QStringLiteral("Keine Vorlagendatei ausgewählt!"), Mb::OkOnly + Mb::Exclamation);
            return;
        }
        const QString dotFile = FieldAssignmentList::keyOf(m_g.fieldAssignmentList.item(position));

        if (dotFile != kEmptyDocument && !VuFileExists(dotFile)) {
            ui().beep();
            msgBox(QStringLiteral("Auf die Vorlagendatei '") + dotFile +
                       QStringLiteral("' kann nicht zugegriffen werden!\r\n"
                                      "Überprüfen Sie die Einstellungen, Zugriffsrechte und "
                                      "Netzwerkverbindungen!"),
                   Mb::OkOnly + Mb::Critical);
            return;
        }

        ClsWord& word = SharedWord(m_g);
        SetStatus(QStringLiteral("Verbindung zu Word herstellen..."));
        if (!word.OpenWord(true)) {
            SetStatus(QStringLiteral("Kein Verbindung zu Word"));
            SetHourglass(false);
            ui().beep();
            msgBox(QStringLiteral("Keine Verbindung zu Word möglich!\r\n\r\n"
                                  "Überprüfen Sie, ob der Ausgabeordner beschreibbar und "
                                  "LibreOffice Writer korrekt installiert ist!"),
                   Mb::OkOnly + Mb::Critical);
            return;
        }

        SetStatus(QStringLiteral("Word-Dokument erstellen..."));
        const WordDocument document = word.CreateDocument(dotFile, true, false);
        // The letter is named after the template and its recipient.
        if (document && m_currentContact)
            document->setRecipientName(
                m_currentContact->value(QStringLiteral("FileAs")).toString());

        SetStatus(QStringLiteral("Text übertragen..."));
        FillWordBookmarks(m_g.fieldAssignmentList, position, word, document, contactResolver(),
                          m_g.specialFieldsString);
        SetStatus(QStringLiteral("Bereit"));

        // The word processor logs why a document could not be made or saved; the user
        // must hear of it, or the letter is silently missing.
        if (!document || (document->savedPath().isEmpty() && !document->isOpenForUser())) {
            ui().beep();
            if (word.lastErrorNumber() == DocumentError::BadTemplate) {
                msgBox(QStringLiteral("Die Vorlagendatei '") + dotFile +
                           QStringLiteral("' ist beschädigt und kann nicht verwendet werden!") +
                           QStringLiteral("\r\n\r\n") + word.lastErrorDescription(),
                       Mb::OkOnly + Mb::Critical);
                return;
            }
            QString text = QStringLiteral("Das Word-Dokument aus der Vorlage '") + dotFile +
                           QStringLiteral("' konnte nicht erstellt werden!\r\n"
                                          "Überprüfen Sie, ob der Ausgabeordner beschreibbar und "
                                          "LibreOffice Writer korrekt installiert ist!");
            if (!word.lastErrorDescription().isEmpty())
                text += QStringLiteral("\r\n\r\n") + word.lastErrorDescription();
            msgBox(text, Mb::OkOnly + Mb::Critical);
            return;
        }
        // Where the letter went stays in sight, also when no program could show it.
        SetStatus(document->savedPath().isEmpty()
                      ? QStringLiteral("Dokument in LibreOffice Writer geöffnet")
                      : QStringLiteral("Dokument gespeichert: ") +
                            QDir::toNativeSeparators(document->savedPath()));
        finished = true;
    });
    if (finished && m_g.settings.ExitAfterFinished)
        close();
}
