#pragma once

#include "contacts/OlItem.h"

#include <QString>

// Outlook's active inspector: the window of the item that is open right now. Here that is
// the file most recently handed to the program (named at start, dropped onto the window, or passed
// by a second start).
//
// CurrentItem() reads the file each time it is asked, so an edit made meanwhile shows:
//  - the first card of a vCard file (a malformed first card is skipped like in a folder);
//  - a calendar file (.ics, BEGIN:VCALENDAR): an "IPM.Appointment" item;
//  - anything else, also a file that cannot be read or holds no card: an "IPM.Note" item,
//    so the wizard tells the user that no contact is open. The reason is logged.
class OlItemWindow
{
public:
    explicit OlItemWindow(QString filePath);

    const QString& filePath() const { return m_filePath; }
    OlItem CurrentItem() const;

private:
    QString m_filePath;
};
