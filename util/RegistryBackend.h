#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

// A registry key handle. The predefined root keys keep their Windows numbers.
using HKey = quint32;

// Numbers of the Windows registry API: root keys, status codes, value types and access
// rights. Every backend speaks in these, so that the texts composed from a status are the
// same on every platform.
namespace Reg
{
// Predefined root keys
inline constexpr HKey ClassesRoot = 0x80000000u, CurrentUser = 0x80000001u,
                      LocalMachine = 0x80000002u;

// Status codes (Win32 error numbers)
inline constexpr long Success = 0, FileNotFound = 2, AccessDenied = 5, InvalidHandle = 6,
                      LockViolation = 33, BadNetPath = 53, InvalidParameter = 87, BadPathname = 161,
                      MoreData = 234, NoMoreItems = 259, BadDb = 1009, IoFailed = 1016,
                      KeyDeleted = 1018;

// Value types
inline constexpr quint32 TypeNone = 0, TypeSz = 1, TypeExpandSz = 2, TypeBinary = 3, TypeDword = 4,
                         TypeMultiSz = 7;

// Access rights
inline constexpr quint32 QueryValue = 0x1, SetValue = 0x2, CreateSubKey = 0x4,
                         EnumerateSubKeys = 0x8, Notify = 0x10, CreateLink = 0x20,
                         AllSpecific = 0x3F, Read = 0x20019;
} // namespace Reg

// The data of one value. Which member counts depends on the type: `text` for REG_SZ and
// REG_EXPAND_SZ, `number` for REG_DWORD, `bytes` for every other type.
struct RegistryData {
    QString text;
    quint32 number = 0;
    QByteArray bytes;
};

// The registry calls the system makes, shaped like their Advapi32 originals: every call
// returns a Win32 status code (Reg::Success = 0) and hands results back through its
// out-parameters. A backend never throws.
//
// Sizes are counted as the system counts them: in characters plus the terminating zero for
// strings, 4 for a DWORD, in bytes for other data.
class RegistryBackend
{
public:
    virtual ~RegistryBackend() = default;

    // RegOpenKeyEx: opens `subKey` (path with "\", empty = the key itself) below `key` with
    // the rights of `access`. Missing key: 2.
    virtual long openKey(HKey key, const QString& subKey, quint32 access, HKey& result) = 0;

    // RegCreateKeyEx: opens or creates `subKey` and every missing key on the way. `key` needs
    // Reg::CreateSubKey. `created` (may be null) tells whether a key was new.
    virtual long createKey(HKey key, const QString& subKey, quint32 access, HKey& result,
                           bool* created) = 0;

    // RegQueryValueEx: with `data` null, reports the type and the size the data needs. With
    // `data`, `*size` is the caller's buffer size: too small gives 234 (and the size needed);
    // else the data is written over the start of the buffer (for strings: the characters and
    // a terminating zero over `data->text`, which is grown when shorter), and `*size` is set
    // to the size written. Missing value: 2.
    virtual long queryValue(HKey key, const QString& valueName, quint32* type, RegistryData* data,
                            quint32* size) = 0;

    // RegSetValueEx: stores `size` units of `data` (for REG_SZ the first size - 1 characters;
    // the last unit is the terminating zero). Needs Reg::SetValue.
    virtual long setValue(HKey key, const QString& valueName, quint32 type,
                          const RegistryData& data, quint32 size) = 0;

    // RegDeleteValue. Missing value: 2.
    virtual long deleteValue(HKey key, const QString& valueName) = 0;

    // RegEnumKey: the name of the sub-key at `index` (0-based). Past the last one: 259. A name
    // that does not fit a buffer of `bufferChars` characters with its terminating zero: 234.
    virtual long enumKey(HKey key, quint32 index, QString& name, quint32 bufferChars) = 0;

    // RegCloseKey. Closing a predefined root key is allowed and does nothing.
    virtual long closeKey(HKey key) = 0;

    // RegConnectRegistry: the root key `key` of the computer `machineName` ("\\name").
    virtual long connectRegistry(const QString& machineName, HKey key, HKey& result) = 0;
};
