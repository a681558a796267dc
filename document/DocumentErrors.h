#pragma once

// Error numbers raised (as ZwError) by the document engines. They are Word's own numbers where
// Word has one, so that the caller's error handling reads like the Word automation it replaces.
namespace DocumentError
{
// The write is refused because the document is protected; unprotect and write again.
constexpr long Protected = 4605;
// The named bookmark does not exist in the document.
constexpr long BookmarkMissing = 5101;
// Bookmarks.Item(n) with n outside 1..count.
constexpr long NoSuchItem = 5941;
// The template file does not exist.
constexpr long FileNotFound = 5174;
// The template cannot be used: not an Office Open XML package, damaged, encrypted, unsafe.
constexpr long BadTemplate = 5792;
// The document was closed (or its application quit) and can no longer be used.
constexpr long ObjectDeleted = 5825;
// The application is not running (quit, or never opened): open it again.
constexpr long ServerGone = 462;
// The word processor did not answer within its time limit and was stopped.
constexpr long NotResponding = 4198;
// A template format only LibreOffice reads, and LibreOffice is not installed (Automation's
// "cannot create object").
constexpr long OfficeMissing = 429;
// The document could not be written into the output folder.
constexpr long SaveFailed = 75;
// The document would have been damaged; it was not written (the check before saving; Word
// has no such number, so one above its own range is used).
constexpr long ResultInvalid = 9100;
} // namespace DocumentError
