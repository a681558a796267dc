#pragma once

#include <QIcon>
#include <QString>

// The small icons of the wizard's lists, drawn once and shared:
//   "Person"        a contact with a last name,
//   "VirtualPerson" a contact that is only a company,
//   "Bookmark"      a bookmark of a template,
//   "App"           the program's window icon.
// Any other name gives a null icon.
QIcon wizardIcon(const QString& name);
