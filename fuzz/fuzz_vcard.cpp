// The vCard reader on a whole file's bytes, then every card as a contact item.
#include "contacts/ContactItem.h"
#include "contacts/VCardReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const VCardReader::Result result = VCardReader::read(bytes);
    for (const VCard& card : result.cards) {
        ContactItem item(card);
        (void)item.entryId();
        for (const QString& name : ContactItem::propertyNames())
            (void)item.value(name);
    }
    // The light readers of a hit list must agree with what they are given.
    for (const VCardReader::Chunk& chunk : VCardReader::split(bytes)) {
        const QByteArrayView card(bytes.constData() + chunk.offset, chunk.size);
        (void)VCardReader::peek(card, "N");
        (void)VCardReader::parseOnly(card, {"N", "ORG", "FN"});
    }
    return 0;
}
