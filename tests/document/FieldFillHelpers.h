#pragma once

// What the field assignment tests share: the defaults, a contact resolved as the wizard
// resolves it, and the text a written document holds at a bookmark.

#include "OoxmlTestPackage.h"
#include "contacts/ClsOutlookVgContactFolder.h"
#include "contacts/VCardReader.h"
#include "document/FieldAssignmentDefaults.h"
#include "document/FieldAssignmentList.h"
#include "document/FieldAssignments.h"

#include <QStringList>

// The field assignments and special fields of a first start.
struct DefaultAssignments {
    FieldAssignmentList list;
    QString special;
    DefaultAssignments() { SetDefaultFieldAssignments(list, special); }
};

// By default Herr Max Müller, Muster AG (Einkauf), Hauptstraße 1, 10115 Berlin, user property
// Kenn-Nr "A-1001": a sample card of the program read by the real vCard reader, its fields looked
// up by the contact folder object as the wizard does (business address, company first, formal). A
// missing user property reaches the error event, as in the wizard; every look-up is recorded as
// "name/type".
struct SampleContact {
    ClsOutlookVgContactFolder folder;
    ContactItem item;
    QStringList calls, reported;

    explicit SampleContact(const char* card = "01-mueller-max.vcf")
    {
        const QString path = qEnvironmentVariable("ZW_SOURCE_DIR") +
                             QStringLiteral("/contacts/samples/") + QLatin1String(card);
        const VCardReader::Result read = VCardReader::readFile(path);
        if (read.cards.size() != 1)
            qFatal("sample card %s not readable", qPrintable(path));
        item = ContactItem(read.cards.first(), path, 0);
        folder.setRaiseErrorEvents(true);
        folder.onErrorEvent([this](long, const QString& message) { reported.append(message); });
    }
    ContactFieldResolver resolver()
    {
        return [this](const QString& name, int type) {
            calls.append(name + u'/' + QString::number(type));
            return folder.GetFieldData(&item, name, type, 0, 0, 0);
        };
    }
};

// The text at a bookmark of the body, first header or first footer; "<missing>" without it.
inline QString textAt(const std::map<std::string, std::string>& entries, const QString& bookmark)
{
    const QByteArray name = bookmark.toUtf8();
    for (const char* part : {"word/document.xml", "word/header1.xml", "word/footer1.xml"}) {
        const auto it = entries.find(part);
        if (it == entries.end())
            continue;
        pugi::xml_document xml;
        xml.load_buffer(it->second.data(), it->second.size(),
                        pugi::parse_default | pugi::parse_ws_pcdata);
        const QString text = OoxmlTestPackage::bookmarkText(xml, name.constData());
        if (text != QLatin1String("<missing>"))
            return text;
    }
    return QStringLiteral("<missing>");
}
