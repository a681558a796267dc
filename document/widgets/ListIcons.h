#pragma once

#include <QIcon>

// The small row icons of the assignment lists, drawn here so that they look the same on
// every desktop whatever icon theme it has.
namespace ListIcons
{
// "Bookmark": a bookmark ribbon, for rows of template bookmarks.
QIcon bookmark();
// "Field": a small field box, for rows of special fields.
QIcon field();
} // namespace ListIcons
