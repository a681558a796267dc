// The Restrict filter parser, and evaluation of what it accepts against fixed values.
#include "contacts/OlFilter.h"
#include "util/ZwError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    try {
        const OlFilter filter = OlFilter::parse(text);
        (void)filter.matches([](int index) -> std::optional<QVariant> {
            if (index % 3 == 0)
                return std::nullopt;
            return QVariant(index % 3 == 1 ? QStringLiteral("Müller") : QStringLiteral("42"));
        });
    } catch (const ZwError&) {
        // A filter that cannot be parsed is refused with a German text: expected.
    }
    return 0;
}
