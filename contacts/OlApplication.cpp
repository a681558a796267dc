#include "contacts/OlApplication.h"

#include "util/ZwError.h"

OlApplication::OlApplication(OlStoreRoots roots) : m_roots(std::move(roots)) {}

std::shared_ptr<OlNameSpace> OlApplication::GetNamespace(const QString& type)
{
    if (type.compare(u"MAPI", Qt::CaseInsensitive) != 0) {
        throw ZwError(5, QStringLiteral("Unbekannter Namensraum '%1'").arg(type),
                      QStringLiteral("GetNamespace"));
    }
    if (!m_namespace)
        m_namespace = std::make_shared<OlNameSpace>(m_roots);
    return m_namespace;
}

std::shared_ptr<OlItemWindow> OlApplication::ActiveInspector() const
{
    if (m_inspectorFile.isEmpty())
        return nullptr;
    return std::make_shared<OlItemWindow>(m_inspectorFile);
}

void OlApplication::setActiveInspectorFile(const QString& path)
{
    m_inspectorFile = path;
}
