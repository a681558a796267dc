#pragma once

#include "contacts/OlItemWindow.h"
#include "contacts/OlNameSpace.h"
#include "contacts/OlStoreRoots.h"

#include <QString>
#include <memory>

// Outlook's Application object: the namespace of the stores and the active inspector.
//
// The program creates one, with the store roots from its settings, and hands it to
// ClsOutlookVgContactFolder. Files handed to the program (command line, drop, second start)
// go to setActiveInspectorFile().
class OlApplication
{
public:
    explicit OlApplication(OlStoreRoots roots = OlStoreRoots::defaults());

    // GetNamespace("MAPI"): the one namespace of the application. Throws ZwError 5 for any
    // other type.
    std::shared_ptr<OlNameSpace> GetNamespace(const QString& type);

    // The open item; nullptr when no file was handed over.
    std::shared_ptr<OlItemWindow> ActiveInspector() const;
    // The file most recently handed over; an empty path closes the inspector.
    void setActiveInspectorFile(const QString& path);
    const QString& activeInspectorFile() const { return m_inspectorFile; }

    const OlStoreRoots& roots() const { return m_roots; }

private:
    OlStoreRoots m_roots;
    std::shared_ptr<OlNameSpace> m_namespace;
    QString m_inspectorFile;
};
