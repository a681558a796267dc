#include "util/ClsRegistry.h"

#include "util/AppInfo.h"
#include "util/FileRegistryBackend.h"
#include "util/UserInterface.h"

#include <QLocale>

namespace
{

const QString kNull = QStringLiteral("#NULL#");

// Access rights the operations open their key with. 0x3F is the six specific rights
// without the standard ones, deliberately not KEY_ALL_ACCESS.
constexpr quint32 kAccessEnum = Reg::Read;
constexpr quint32 kAccessGet = 0x3F;
constexpr quint32 kAccessCreate = Reg::CreateSubKey;
constexpr quint32 kAccessCreateNew = 0x3F;
constexpr quint32 kAccessSet = Reg::SetValue;
constexpr quint32 kAccessDelete = 0x3F;

constexpr quint32 kEnumBufferChars = 256;

struct RootKeyName {
    const char* name;
    HKey handle;
};
constexpr RootKeyName kRootKeys[] = {
    {"HKEY_LOCAL_MACHINE", Reg::LocalMachine},
    {"HKEY_CLASSES_ROOT", Reg::ClassesRoot},
    {"HKEY_CURRENT_USER", Reg::CurrentUser},
};

// Text to boolean as the settings need it: what SetBool writes ("True", "False"), the
// German words, and numbers (0 false, any other true). Anything else is no boolean.
bool textToBool(const QString& text, bool& value)
{
    const QString t = text.trimmed();
    if (t.compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0 ||
        t.compare(QStringLiteral("Wahr"), Qt::CaseInsensitive) == 0) {
        value = true;
        return true;
    }
    if (t.compare(QStringLiteral("False"), Qt::CaseInsensitive) == 0 ||
        t.compare(QStringLiteral("Falsch"), Qt::CaseInsensitive) == 0) {
        value = false;
        return true;
    }
    bool ok = false;
    double number = QLocale::c().toDouble(t, &ok);
    if (!ok)
        number = QLocale(QLocale::German).toDouble(t, &ok);
    if (!ok)
        return false;
    value = number != 0.0;
    return true;
}

bool variantToBool(const QVariant& v, bool& value)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
        value = v.toBool();
        return true;
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return textToBool(v.toString(), value);
    default: {
        bool ok = false;
        const double number = v.toDouble(&ok);
        if (ok)
            value = number != 0.0;
        return ok;
    }
    }
}

QString variantToText(const QVariant& v)
{
    if (v.typeId() == QMetaType::Bool)
        return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    return v.toString();
}

} // namespace

ClsRegistry::ClsRegistry(std::shared_ptr<RegistryBackend> backend)
    : m_backend(backend ? std::move(backend) : std::make_shared<FileRegistryBackend>()),
      m_sRootKey(QStringLiteral("HKEY_CURRENT_USER")), m_sAppPath(AppInfo::title()),
      m_sCompany(QStringLiteral("KVAR")), m_sCompanyDescription(QStringLiteral("Kvarsystem"))
{
}

ClsRegistry::~ClsRegistry()
{
    if (m_hEnumKey)
        m_backend->closeKey(m_hEnumKey);
    if (m_hRemoteKey)
        m_backend->closeKey(m_hRemoteKey);
}

QString ClsRegistry::statusText(long lStatus)
{
    switch (lStatus) {
    case 0:
        return QStringLiteral("<kein Fehler>");
    case 2:
        return QStringLiteral("Datei nicht gefunden");
    case 5:
        return QStringLiteral("Zugriff verweigert");
    case 53:
        return QStringLiteral("Ungültiger Netzwerkpfad");
    case 67:
        return QStringLiteral("Netzwerkname nicht gefunden");
    case 87:
        return QStringLiteral("Ungültige(r) Parameter");
    case 259:
        return QStringLiteral("Keine weiteren Daten");
    case 1210:
        return QStringLiteral("Zugriff nicht möglich");
    default:
        // No closing bracket: that is how the text has always read.
        return QStringLiteral("<unbekannter Fehler: ") + QString::number(lStatus);
    }
}

void ClsRegistry::composeError(long lStatus, const QString& sOperation)
{
    QString s = QStringLiteral("Fehler bei Registry-Zugriff");
    if (!m_sRemoteComputer.isEmpty())
        s += QStringLiteral(" auf '") + m_sRemoteComputer + u'\'';
    s += QStringLiteral(" beim ") + sOperation;
    s += QStringLiteral(": ") + statusText(lStatus);
    if (m_bDetailedErrorDescription)
        s += QStringLiteral(", ") + m_sRootKey + u'\\' + m_sKey;
    m_sErrorDescription = s;
}

bool ClsRegistry::keyIsSet()
{
    if (m_sRootKey.isEmpty()) {
        m_sErrorDescription = QStringLiteral("Registry-RootKey nicht gesetzt");
        return false;
    }
    if (m_sKey.isEmpty()) {
        m_sErrorDescription = QStringLiteral("Registry-Key nicht gesetzt");
        return false;
    }
    return true;
}

bool ClsRegistry::openCurrentKey(HKey hRoot, quint32 lAccess, HKey& hKey)
{
    const long lStatus = m_backend->openKey(hRoot, m_sKey, lAccess, hKey);
    if (lStatus != Reg::Success) {
        composeError(lStatus, QStringLiteral("Öffnen"));
        return false;
    }
    m_sErrorDescription.clear();
    return true;
}

bool ClsRegistry::ConnectRemoteComputer(const QString& sRemoteComputer)
{
    if (m_hRemoteKey)
        m_backend->closeKey(m_hRemoteKey); // a second connect must not leak the first
    m_sRemoteComputer = sRemoteComputer;
    m_hRemoteKey = 0;
    if (m_sRemoteComputer.isEmpty())
        return false;
    HKey hRemote = 0;
    const long lStatus =
        m_backend->connectRegistry(QStringLiteral("\\\\") + m_sRemoteComputer, m_hRootKey, hRemote);
    if (lStatus != Reg::Success) {
        composeError(lStatus, QStringLiteral("RemoteConnect"));
        return false;
    }
    m_hRemoteKey = hRemote;
    m_sErrorDescription.clear();
    return true;
}

void ClsRegistry::DisconnectRemoteComputer()
{
    if (m_hRemoteKey)
        m_backend->closeKey(m_hRemoteKey);
    m_hRemoteKey = 0;
    m_sRemoteComputer.clear();
}

void ClsRegistry::setRootKey(const QString& sRootKey)
{
    for (const RootKeyName& root : kRootKeys) {
        if (sRootKey == QLatin1String(root.name)) {
            m_hRootKey = root.handle;
            m_sRootKey = sRootKey;
            return;
        }
    }
    // This wording, operation word included, is the established one.
    composeError(0, QStringLiteral("RemoteConnect: Ungültiger Registry-RootKey: '") + sRootKey +
                        u'\'');
}

bool ClsRegistry::EnumKeys(bool bStartEnum, QString& sKeyName)
{
    if (!keyIsSet())
        return false;
    if (bStartEnum) {
        if (m_hEnumKey) {
            m_backend->closeKey(m_hEnumKey);
            m_hEnumKey = 0;
        }
        HKey hKey = 0;
        if (!openCurrentKey(readRoot(), kAccessEnum, hKey))
            return false;
        m_hEnumKey = hKey;
        m_lEnumIndex = 0;
    } else if (!m_hEnumKey) {
        composeError(0, QStringLiteral("EnumKeys: not opened"));
        return false;
    }

    QString sName;
    const long lStatus = m_backend->enumKey(m_hEnumKey, m_lEnumIndex, sName, kEnumBufferChars);
    if (lStatus == Reg::Success) {
        const qsizetype zero = sName.indexOf(QChar(0));
        sKeyName = zero < 0 ? sName : sName.left(zero);
        ++m_lEnumIndex;
        m_sErrorDescription.clear();
        return true;
    }
    if (lStatus == Reg::NoMoreItems) {
        sKeyName.clear();
        m_backend->closeKey(m_hEnumKey);
        // The handle is forgotten with the key: a backend may hand the same number to the
        // next key it opens, and a later call without bStartEnum must not read that one.
        m_hEnumKey = 0;
        m_sErrorDescription.clear();
        return true;
    }
    composeError(lStatus, QStringLiteral("EnumKeys"));
    return false;
}

bool ClsRegistry::CreateSubKey(const QString& sNewKey)
{
    if (!keyIsSet())
        return false;
    HKey hKey = 0;
    if (!openCurrentKey(m_hRootKey, kAccessCreate, hKey))
        return false;
    HKey hNewKey = 0;
    bool bCreated = false;
    const long lStatus = m_backend->createKey(hKey, sNewKey, kAccessCreateNew, hNewKey, &bCreated);
    m_backend->closeKey(hKey);
    if (lStatus != Reg::Success) {
        composeError(lStatus, QStringLiteral("Anlegen"));
        return false;
    }
    m_backend->closeKey(hNewKey);
    m_sErrorDescription.clear();
    return true;
}

bool ClsRegistry::GetString(const QString& sName, QString& sValue)
{
    if (!keyIsSet())
        return false;
    HKey hKey = 0;
    if (!openCurrentKey(readRoot(), kAccessGet, hKey))
        return false;
    QString vValue;
    quint32 lType = 0;
    quint32 lSize = 0;
    long lStatus = m_backend->queryValue(hKey, sName, &lType, nullptr, &lSize);
    if (lStatus == Reg::Success) {
        if (lType == Reg::TypeSz) {
            RegistryData buffer;
            buffer.text = QString(qsizetype(lSize), u' ');
            lStatus = m_backend->queryValue(hKey, sName, &lType, &buffer, &lSize);
            if (lStatus == Reg::Success)
                vValue = buffer.text.left(qsizetype(lSize) - 1);
        } else if (lType == Reg::TypeDword) {
            RegistryData number;
            quint32 lNumberSize = 4;
            lStatus = m_backend->queryValue(hKey, sName, &lType, &number, &lNumberSize);
            if (lStatus == Reg::Success)
                vValue = QString::number(qint32(number.number)); // a signed 32-bit number
        } else {
            lStatus = -1;
        }
    }
    if (vValue == kNull)
        vValue.clear();
    m_backend->closeKey(hKey);

    if (lStatus != Reg::Success) {
        composeError(lStatus, QStringLiteral("Lesen"));
        return false;
    }
    m_sErrorDescription.clear();
    sValue = vValue;
    return true;
}

QString ClsRegistry::GetOptString(const QString& sName, const QVariant& vsDefault)
{
    QString sValue;
    if (GetString(sName, sValue))
        return sValue;
    if (vsDefault.isValid() && !vsDefault.isNull())
        return variantToText(vsDefault);
    return QString();
}

bool ClsRegistry::GetOptBool(const QString& sName, const QVariant& vbDefault)
{
    bool bResult = false;
    QString sValue;
    if (GetString(sName, sValue)) {
        if (!textToBool(sValue, bResult))
            bResult = false;
    } else if (vbDefault.isValid() && !vbDefault.isNull()) {
        if (!variantToBool(vbDefault, bResult))
            bResult = false;
    }
    return bResult;
}

bool ClsRegistry::SetString(const QString& sName, const QString& sValue)
{
    if (!keyIsSet())
        return false;
    HKey hKey = 0;
    if (!openCurrentKey(m_hRootKey, kAccessSet, hKey))
        return false;
    RegistryData data;
    data.text = sValue.isEmpty() ? kNull : sValue;
    // The length includes the terminating zero.
    const long lStatus =
        m_backend->setValue(hKey, sName, Reg::TypeSz, data, quint32(data.text.size() + 1));
    m_backend->closeKey(hKey);
    if (lStatus != Reg::Success) {
        composeError(lStatus, QStringLiteral("Setzen von ") + sName);
        return false;
    }
    m_sErrorDescription.clear();
    return true;
}

bool ClsRegistry::SetBool(const QString& sName, bool bValue)
{
    return SetString(sName, bValue ? QStringLiteral("True") : QStringLiteral("False"));
}

bool ClsRegistry::DeleteValue(const QString& sName)
{
    if (!keyIsSet())
        return false;
    HKey hKey = 0;
    if (!openCurrentKey(m_hRootKey, kAccessDelete, hKey))
        return false;
    const long lStatus = m_backend->deleteValue(hKey, sName);
    m_backend->closeKey(hKey);
    if (lStatus != Reg::Success) {
        composeError(lStatus, QStringLiteral("Löschen von ") + sName);
        return false;
    }
    m_sErrorDescription.clear();
    return true;
}

bool ClsRegistry::RegisterApp(bool bShowMessage, bool& bFirstRegistration,
                              const QString& sFirstStartMessage)
{
    bFirstRegistration = true;
    auto fail = [this]() {
        msgBox(QStringLiteral("RegisterApp Fehler: ") + m_sErrorDescription, Mb::OkOnly);
        return false;
    };

    if (m_sAppPath.isEmpty()) {
        msgBox(QStringLiteral("RegisterApp Fehler: AppPath nicht gesetzt"), Mb::OkOnly);
        return false;
    }
    const QString sCompanyKey = QStringLiteral("Software\\") + m_sCompany;
    m_sAppKey = sCompanyKey + u'\\' + m_sAppPath;
    m_sKey = m_sAppKey;

    QString sValue;
    if (GetString(QStringLiteral("CurrentVersion"), sValue) && !sValue.isEmpty()) {
        bFirstRegistration = false;
        return true;
    }

    // First start: the company key with its description, unless another of the company's
    // programs made it already.
    m_sKey = sCompanyKey;
    QString sDescription;
    if (!GetString(QStringLiteral("Description"), sDescription) || sDescription.isEmpty()) {
        m_sKey = QStringLiteral("Software");
        if (!CreateSubKey(m_sCompany))
            return fail();
        m_sKey = sCompanyKey;
        if (!SetString(QStringLiteral("Description"), m_sCompanyDescription))
            return fail();
    }

    if (bShowMessage) {
        const QString sMessage =
            !sFirstStartMessage.isEmpty()
                ? sFirstStartMessage
                : QStringLiteral("Dies ist der erste Start der Anwendung '") + m_sAppPath +
                      QStringLiteral("'\r\nDie Anwendung wird jetzt registriert!");
        msgBox(sMessage, Mb::Information + Mb::OkOnly);
    }

    m_sKey = sCompanyKey;
    if (!CreateSubKey(m_sAppPath))
        return fail();

    m_sKey = m_sAppKey;
    if (!SetString(QStringLiteral("CurrentVersion"), AppInfo::versionText()))
        return fail();
    return true;
}

bool ClsRegistry::GetWindowsInfo(QString& sSystem, QString& sVersion, QString& sBuild,
                                 QString& sServicePack, QString& sFullDescription,
                                 QString& sRegisteredUser, QString& sRegisteredOrganization)
{
    const QString sOldRootKey = m_sRootKey;
    const QString sOldKey = m_sKey;
    setRootKey(QStringLiteral("HKEY_LOCAL_MACHINE"));
    m_sKey = QStringLiteral("Software\\Microsoft\\Windows\\CurrentVersion");

    if (GetString(QStringLiteral("VersionNumber"), sVersion)) {
        // The Windows 95 family
        GetString(QStringLiteral("Version"), sSystem);
        sServicePack = GetOptString(QStringLiteral("SubVersionNumber"));
        sBuild.clear();
        sFullDescription = sSystem + sServicePack + QStringLiteral(" Version ") + sVersion;
    } else {
        m_sKey = QStringLiteral("Software\\Microsoft\\Windows NT\\CurrentVersion");
        if (!GetString(QStringLiteral("CurrentVersion"), sVersion)) {
            if (m_sErrorDescription.isEmpty())
                m_sErrorDescription = QStringLiteral("GetWindowsInfo: Unknown Operating System");
            // RootKey and Key stay where they are, as the callers know it.
            return false;
        }
        sSystem = QStringLiteral("Windows NT");
        sBuild = GetOptString(QStringLiteral("CurrentBuildNumber"));
        sServicePack = GetOptString(QStringLiteral("CSDVersion"));
        sFullDescription =
            sSystem + u' ' + sVersion + QStringLiteral(" Build ") + sBuild + u' ' + sServicePack;
    }
    sRegisteredUser = GetOptString(QStringLiteral("RegisteredOwner"));
    sRegisteredOrganization = GetOptString(QStringLiteral("RegisteredOrganization"));

    m_sKey = sOldKey;
    setRootKey(sOldRootKey);
    return true;
}
