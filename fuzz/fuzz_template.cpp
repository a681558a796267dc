// Template read, fill of every bookmark and save, as a transfer does it. The input is a whole
// package when it starts like a zip archive; otherwise it is the main part (document.xml) of
// an otherwise ordinary template, which lets the fuzzer reach the bookmark code quickly.
// A document that the check before saving refuses means the fill damaged it: that is a
// finding, as is any crash.
#include "document/DocumentErrors.h"
#include "document/OoxmlDocument.h"
#include "document/OoxmlSession.h"
#include "document/OoxmlTemplate.h"
#include "document/OoxmlZipWriter.h"
#include "util/ZwError.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

QByteArray wrap(const std::string& mainPart)
{
    const std::string decl = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";
    OoxmlZipWriter writer;
    writer.addData("[Content_Types].xml",
                   decl + "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/"
                          "content-types\"><Default Extension=\"rels\" ContentType=\"application/"
                          "vnd.openxmlformats-package.relationships+xml\"/><Default "
                          "Extension=\"xml\" ContentType=\"application/xml\"/><Override "
                          "PartName=\"/word/document.xml\" ContentType=\"application/"
                          "vnd.openxmlformats-officedocument.wordprocessingml.template.main+xml\"/>"
                          "</Types>",
                   1);
    writer.addData("_rels/.rels",
                   decl + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/"
                          "relationships\"><Relationship Id=\"rId1\" Type=\"http://schemas."
                          "openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
                          "Target=\"word/document.xml\"/></Relationships>",
                   1);
    writer.addData("word/document.xml", mainPart, 1);
    return writer.finish();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    OoxmlLimits limits;
    limits.maxFileBytes = 4u << 20;
    limits.maxEntryBytes = 8u << 20;
    limits.maxTotalBytes = 16u << 20;
    try {
        const QByteArray bytes = input.rfind("PK", 0) == 0
                                     ? QByteArray(input.data(), qsizetype(input.size()))
                                     : wrap(input);
        auto parsed = OoxmlTemplate::load(bytes, QStringLiteral("fuzz.dotx"), limits);
        auto session = std::make_shared<OoxmlSession>();
        session->open = true;
        OoxmlDocument document(parsed, QStringLiteral("fuzz.dotx"), session);
        const QStringList names = parsed->bookmarkNames();
        int i = 0;
        for (const QString& name : names) {
            document.goToBookmark(name);
            // Single words, several paragraphs, tabs and nothing, in turn.
            static const char* const texts[] = {"Wert", "eins\r\nzwei\r\ndrei", "a\tb\vc", ""};
            document.typeText(QString::fromUtf8(texts[i++ % 4]));
        }
        document.typeText(QStringLiteral("Zeile\r\n"));
        document.package();
    } catch (const ZwError& e) {
        if (e.number() == DocumentError::ResultInvalid) {
            std::fprintf(stderr, "check before saving refused: %s\n",
                         e.description().toUtf8().constData());
            std::abort();
        }
    }
    return 0;
}
