#pragma once

#include <QString>

class FieldAssignmentList;

// The name of the empty-document entry; it is also its key.
inline const QString kEmptyDocument = QStringLiteral("(leeres Dokument)");

// Paths of the two sample templates that ship beside the program.
QString sampleLetterTemplatePath();
QString sampleFaxTemplatePath();

// Replaces both the template assignments and the special fields by the built-in
// defaults: the empty document with its thirty line placeholders, the fax and the
// letter sample with their bookmark pairs, and the seven sender fields.
void SetDefaultFieldAssignments(FieldAssignmentList& list, QString& specialFieldsString);
