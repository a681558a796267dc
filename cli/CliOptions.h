#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// What one zettelwerk-cli call asks for, checked for consistency.
struct CliOptions {
    bool help = false;
    bool version = false;

    // The contact: a vCard file, or a folder of the session searched by last name.
    QString vcardFile;
    QString folder;
    QString lastName; // empty: every contact of the folder
    int number = 1;   // the n-th card of the file or hit of the search
    bool listHits = false;

    QString templatePath; // as given; "(leeres Dokument)" for the blank document
    int addressType = 0;  // 0 business, 1 private, 2 other
    int addressOrder = 0; // 0 company first, 1 person first
    int addressStyle = 0; // 1 familiar, 0 formal
    // Unset: the user's setting.
    std::optional<bool> titleAndNameOnSameLine;
    std::optional<bool> addEmptyLineBeforeCity;
    std::optional<bool> addNToHerr;

    QString outputFolder; // empty: the user's setting
    QString format;       // "docx", "odt", "pdf"; empty: by the template
    bool listFields = false;
    // First line: the CardDAV server's password (unattended runs); empty: the secret store.
    QString passwordFile;

    // Parses the arguments (the program name first). Throws CliFailure (CliExitCode::Usage)
    // with a German message naming the argument.
    static CliOptions parse(const QStringList& arguments);
    // The German help text, with the exit codes.
    static QString helpText();
};
