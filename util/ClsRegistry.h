#pragma once

#include "util/RegistryBackend.h"

#include <QString>
#include <QVariant>
#include <memory>

// The system's one door to the registry. It keeps a current root key and key path; every
// value operation works on value names below that key. A failed call returns false and
// leaves a German text in ErrorDescription(); nothing throws, and the only message boxes are
// those of RegisterApp.
//
// All values are written as REG_SZ. An empty text is stored as "#NULL#" and read back as
// empty; booleans are stored as "True" / "False".
//
// Reading operations use the remote computer's registry while one is connected; writing
// operations always use the local one. That asymmetry is intended.
class ClsRegistry
{
public:
    // Without a backend, the registry files of FileRegistryBackend are used.
    explicit ClsRegistry(std::shared_ptr<RegistryBackend> backend = {});
    ~ClsRegistry();
    ClsRegistry(const ClsRegistry&) = delete;
    ClsRegistry& operator=(const ClsRegistry&) = delete;

    bool ConnectRemoteComputer(const QString& sRemoteComputer);
    void DisconnectRemoteComputer();

    // Only "HKEY_LOCAL_MACHINE", "HKEY_CLASSES_ROOT" and "HKEY_CURRENT_USER" (exact case)
    // are taken; any other name changes nothing and sets ErrorDescription.
    void setRootKey(const QString& sRootKey);
    QString RootKey() const { return m_sRootKey; }
    void setKey(const QString& sKey) { m_sKey = sKey; }
    QString Key() const { return m_sKey; }
    void setAppPath(const QString& sAppPath) { m_sAppPath = sAppPath; }
    void setAppKey(const QString& sAppKey) { m_sAppKey = sAppKey; }
    QString AppKey() const { return m_sAppKey; }
    void setCompany(const QString& sCompany) { m_sCompany = sCompany; }
    QString Company() const { return m_sCompany; }
    void setCompanyDescription(const QString& s) { m_sCompanyDescription = s; }
    QString CompanyDescription() const { return m_sCompanyDescription; }
    void setDetailedErrorDescription(bool b) { m_bDetailedErrorDescription = b; }
    bool DetailedErrorDescription() const { return m_bDetailedErrorDescription; }
    QString ErrorDescription() const { return m_sErrorDescription; }

    // Call with bStartEnum true first, then false, until sKeyName comes back empty.
    bool EnumKeys(bool bStartEnum, QString& sKeyName);
    bool CreateSubKey(const QString& sNewKey);
    bool GetString(const QString& sName, QString& sValue);
    // The value, or vsDefault as text on failure (empty when no default is given).
    QString GetOptString(const QString& sName, const QVariant& vsDefault = QVariant());
    // The value as boolean ("True"/"False", "Wahr"/"Falsch" in any case, numbers: 0 is false,
    // others true; any other text false), or vbDefault as boolean on failure.
    bool GetOptBool(const QString& sName, const QVariant& vbDefault = QVariant());
    bool SetString(const QString& sName, const QString& sValue);
    bool SetBool(const QString& sName, bool bValue);
    bool DeleteValue(const QString& sName);
    // Registers the application below Software\<Company>\<AppPath> on its first start.
    bool RegisterApp(bool bShowMessage, bool& bFirstRegistration,
                     const QString& sFirstStartMessage);
    bool GetWindowsInfo(QString& sSystem, QString& sVersion, QString& sBuild, QString& sServicePack,
                        QString& sFullDescription, QString& sRegisteredUser,
                        QString& sRegisteredOrganization);

    // Text of a Win32 status code as the error texts show it.
    static QString statusText(long lStatus);

private:
    bool keyIsSet();
    void composeError(long lStatus, const QString& sOperation);
    // Opens Key below hRoot; a failure composes "Öffnen", a success empties the error text.
    bool openCurrentKey(HKey hRoot, quint32 lAccess, HKey& hKey);
    HKey readRoot() const { return m_hRemoteKey ? m_hRemoteKey : m_hRootKey; }

    std::shared_ptr<RegistryBackend> m_backend;
    HKey m_hRootKey = Reg::CurrentUser;
    QString m_sRootKey;
    QString m_sKey;
    QString m_sAppPath;
    QString m_sAppKey;
    QString m_sCompany;
    QString m_sCompanyDescription;
    QString m_sErrorDescription;
    bool m_bDetailedErrorDescription = true;
    QString m_sRemoteComputer;
    HKey m_hRemoteKey = 0;
    HKey m_hEnumKey = 0;
    quint32 m_lEnumIndex = 0;
};
