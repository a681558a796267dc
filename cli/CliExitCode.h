#pragma once

// Exit codes of zettelwerk-cli, one per kind of failure, so that a calling script can tell
// them apart. The help text lists them.
namespace CliExitCode
{
inline constexpr int Ok = 0;
inline constexpr int Usage = 1;            // wrong or missing arguments
inline constexpr int ContactMissing = 2;   // no such contact (file, card or search hit)
inline constexpr int FolderMissing = 3;    // the contact folder cannot be found or read
inline constexpr int NotContactFolder = 4; // the folder holds no contacts
inline constexpr int TemplateMissing = 5;  // the template cannot be read
inline constexpr int NoAssignment = 6;     // the template has no field assignment entry
inline constexpr int OutputFolder = 7;     // the output folder is missing or not writable
inline constexpr int DocumentFailed = 8;   // the document could not be made or saved
inline constexpr int Settings = 9;         // the stored settings cannot be read
inline constexpr int BookmarkFailed = 10;  // saved, but a bookmark could not be filled
} // namespace CliExitCode
