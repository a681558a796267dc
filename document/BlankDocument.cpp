#include "document/BlankDocument.h"

#include "document/OoxmlZipWriter.h"

namespace
{

const char* const contentTypes =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
    R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)"
    R"(<Default Extension="xml" ContentType="application/xml"/>)"
    R"(<Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/>)"
    R"(<Override PartName="/word/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.styles+xml"/>)"
    R"(<Override PartName="/word/settings.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.settings+xml"/>)"
    R"(<Override PartName="/docProps/core.xml" ContentType="application/vnd.openxmlformats-package.core-properties+xml"/>)"
    R"(<Override PartName="/docProps/app.xml" ContentType="application/vnd.openxmlformats-officedocument.extended-properties+xml"/>)"
    R"(</Types>)";

const char* const packageRels =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="word/document.xml"/>)"
    R"(<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties" Target="docProps/core.xml"/>)"
    R"(<Relationship Id="rId3" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties" Target="docProps/app.xml"/>)"
    R"(</Relationships>)";

const char* const documentRels =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="styles.xml"/>)"
    R"(<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/settings" Target="settings.xml"/>)"
    R"(</Relationships>)";

// A4, margins 2.5 cm (bottom 2 cm), as a German word processor starts a blank page.
const char* const document =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main" )"
    R"(xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">)"
    R"(<w:body><w:p/>)"
    R"(<w:sectPr><w:pgSz w:w="11906" w:h="16838"/>)"
    R"(<w:pgMar w:top="1417" w:right="1417" w:bottom="1134" w:left="1417" w:header="708" w:footer="708" w:gutter="0"/>)"
    R"(<w:cols w:space="708"/></w:sectPr></w:body></w:document>)";

const char* const styles =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<w:styles xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main">)"
    R"(<w:docDefaults><w:rPrDefault><w:rPr>)"
    R"(<w:rFonts w:ascii="Arial" w:hAnsi="Arial" w:eastAsia="Arial" w:cs="Arial"/>)"
    R"(<w:sz w:val="22"/><w:szCs w:val="22"/><w:lang w:val="de-DE" w:eastAsia="en-US" w:bidi="ar-SA"/>)"
    R"(</w:rPr></w:rPrDefault><w:pPrDefault><w:pPr><w:spacing w:after="0" w:line="240" w:lineRule="auto"/>)"
    R"(</w:pPr></w:pPrDefault></w:docDefaults>)"
    R"(<w:style w:type="paragraph" w:default="1" w:styleId="Standard"><w:name w:val="Normal"/><w:qFormat/></w:style>)"
    R"(<w:style w:type="character" w:default="1" w:styleId="Absatz-Standardschriftart"><w:name w:val="Default Paragraph Font"/><w:uiPriority w:val="1"/><w:semiHidden/><w:unhideWhenUsed/></w:style>)"
    R"(</w:styles>)";

const char* const settings =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<w:settings xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main">)"
    R"(<w:defaultTabStop w:val="708"/><w:hyphenationZone w:val="425"/><w:characterSpacingControl w:val="doNotCompress"/>)"
    R"(<w:compat><w:compatSetting w:name="compatibilityMode" w:uri="http://schemas.microsoft.com/office/word" w:val="15"/></w:compat>)"
    R"(<w:themeFontLang w:val="de-DE"/></w:settings>)";

const char* const core =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<cp:coreProperties xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" )"
    R"(xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/" )"
    R"(xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"><dc:creator>Zettelwerk</dc:creator></cp:coreProperties>)";

const char* const app =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    "\r\n"
    R"(<Properties xmlns="http://schemas.openxmlformats.org/officeDocument/2006/extended-properties">)"
    R"(<Application>Zettelwerk</Application></Properties>)";

} // namespace

QByteArray BlankDocument::package()
{
    OoxmlZipWriter writer;
    writer.addData("[Content_Types].xml", contentTypes);
    writer.addData("_rels/.rels", packageRels);
    writer.addData("word/document.xml", document);
    writer.addData("word/_rels/document.xml.rels", documentRels);
    writer.addData("word/styles.xml", styles);
    writer.addData("word/settings.xml", settings);
    writer.addData("docProps/core.xml", core);
    writer.addData("docProps/app.xml", app);
    return writer.finish();
}
