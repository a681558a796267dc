#pragma once

#include <QByteArray>

// The package of a new blank document ("(leeres Dokument)"): one empty paragraph on an A4
// page with German defaults, ready for lines typed at the insertion point.
class BlankDocument
{
public:
    static QByteArray package();
};
