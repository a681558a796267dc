#pragma once

#include <QString>

// Mends what LibreOffice 7.4 writes wrongly into a .docx: a bookmark that begins a paragraph
// and reaches into a later one is written as a start without an end, followed by a start/end
// pair of the same name around the last paragraph's part only, so Word (and LibreOffice
// reading it back) sees the bookmark shrunk to its last paragraph. The repair joins the first
// start with the pair's end and drops the pair's start. Other content is copied unchanged.
class LibreOfficeDocxRepair
{
public:
    // Repairs the file in place; returns the number of bookmarks mended, or -1 when the file
    // is no readable .docx (it is then left as it was).
    static int repairBookmarks(const QString& docxPath);
};
