// The REGEDIT4 reader of the settings store; what it reads must serialize and read back.
#include "util/RegeditFormat.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    RegistryNode tree;
    const QString root = QStringLiteral("HKEY_CURRENT_USER");
    if (!RegeditFormat::parse(bytes, root, tree).ok)
        return 0;
    RegistryNode again;
    if (!RegeditFormat::parse(RegeditFormat::serialize(tree, root), root, again).ok)
        std::abort(); // what was written cannot be read back
    return 0;
}
