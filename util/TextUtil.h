#pragma once

#include <QString>

// Small text utilities shared by the whole system: file paths, a tokenizer for separated
// lists and a splitter of key "=" value pairs.
//
// Paths may use "/" or "\" (or both); either counts as a separator.

// The text after the last separator; the whole text when there is none.
QString VuGetFileName(const QString& path);
// The file name without its extension ("Brief.dot" -> "Brief", "a.b.c" -> "a.b").
QString VuGetFileTitle(const QString& path);
// The extension with its leading "." (".dot"); empty when the file name has no ".".
QString VuGetFileExtension(const QString& path);
// The path with a separator at its end, added only when it does not already end in one.
// The added separator matches the path: "\" when the last separator in it is a "\",
// otherwise "/" (also for a path without any separator, so "" becomes "/").
QString VuEnsureTrailingSeparator(const QString& path);
// True when the file can be opened for reading (a folder cannot).
bool VuFileExists(const QString& path);

// Tokenizer with one remembered state for the whole process: a non-empty text starts a
// new scan, an empty text continues the current one. Returns the next part before sep;
// an empty text at the end of the scan. An empty part inside the list ("a||b") also comes
// back as an empty text, which callers take as the end. Two scans must not be interleaved.
QString VuGetNextToken(const QString& text, const QString& sep);

// Takes the next token like VuGetNextToken. When it holds "=" after at least one
// character, key receives the part before the first "=" and value the part behind it;
// otherwise key and value stay unchanged. Returns the token.
QString VuGetNextKeyValue(const QString& text, const QString& sep, QString& key, QString& value);
