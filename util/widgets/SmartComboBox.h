#pragma once

#include <QString>

class QComboBox;
class ClsRegistry;

// A remembered history for an editable combo box, newest entry first, stored as one
// "|"-joined value below the application key. An empty value name means the box's
// object name. Without a registry object nothing is loaded or stored.

// Appends the stored entries to the list in stored order.
void LoadComboHistory(QComboBox* box, ClsRegistry* registry, const QString& valueName);
// Stores the first `maxEntries` entries of the list.
void SaveComboHistory(QComboBox* box, ClsRegistry* registry, const QString& valueName,
                      int maxEntries);
// Puts the trimmed edit text at the top of the list unless it is blank or listed already
// (compared exactly); a listed text keeps its place.
void AddComboText(QComboBox* box);
