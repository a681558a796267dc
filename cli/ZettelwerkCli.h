#pragma once

#include "app/Settings.h"
#include "cli/CliOptions.h"
#include "cli/CliUserInterface.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "document/FieldAssignmentList.h"
#include "document/FieldAssignments.h"

#include <QString>
#include <QStringList>
#include <memory>

// One run of zettelwerk-cli: the transfer of the wizard's "Fertigstellen" without its
// windows. Reads the user's settings (never writes them), finds the contact, creates the
// document from the template, fills its bookmarks by the template's field assignment and
// saves it as a new .docx, whose path goes to standard output. Messages go to standard error;
// the result is the exit code (CliExitCode).
class ZettelwerkCli
{
public:
    ZettelwerkCli();
    ~ZettelwerkCli();

    int run(const QStringList& arguments);

private:
    void loadSettings();
    // The session's folder object, made with the public folders of the settings.
    void connectContacts(const CliOptions& options);
    void applyAddressFlags(const CliOptions& options);
    ContactItem findContact(const CliOptions& options);
    void listHits(const CliOptions& options);
    void listFields(const CliOptions& options, const ContactItem& contact);
    // 1-based position of the template's assignment entry; the template file is checked.
    int templatePosition(const CliOptions& options, QString& templateFile) const;
    QString fill(const CliOptions& options, const ContactItem& contact);
    ContactFieldResolver resolverFor(const CliOptions& options, const ContactItem& contact);

    CliUserInterface m_ui;
    Settings m_settings;
    FieldAssignmentList m_assignments;
    QString m_specialFields;
    std::unique_ptr<ClsOutlookVgContactFolder> m_folder;
    // Bookmarks the last fill could not write.
    QList<BookmarkFailure> m_bookmarkFailures;
};
