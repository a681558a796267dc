#pragma once

// Shared helpers of the main window tests: a private home with a personal contact store,
// the started program, controls by name, and the text of a saved document at its bookmarks.

#include "app/FrmMain.h"
#include "app/Main.h"
#include "app/Settings.h"
#include "document/ClsWord.h"
#include "tests/support/ScriptedUserInterface.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestFiles.h"
#include "util/ClsRegistry.h"

#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QMap>
#include <QPushButton>
#include <QStringList>
#include <QTest>
#include <QTreeWidget>
#include <QVariantMap>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <zip.h>

namespace kit
{

template <class T> T* child(QWidget* w, const QString& name)
{
    T* c = w->findChild<T*>(name);
    if (!c)
        qFatal("control %s missing", qPrintable(name));
    return c;
}

// One contact as a vCard 3.0 text.
struct Card {
    Card(QString last, QString first, QString title = {}, QString company = {}, QString street = {},
         QString zip = {}, QString city = {}, QString country = QStringLiteral("Deutschland"),
         QString firma2 = {})
        : last(std::move(last)), first(std::move(first)), title(std::move(title)),
          company(std::move(company)), street(std::move(street)), zip(std::move(zip)),
          city(std::move(city)), country(std::move(country)), firma2(std::move(firma2))
    {
    }
    QString last, first, title, company, street, zip, city, country, firma2;
    QString toVCard() const
    {
        QString v = QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\n");
        v += QStringLiteral("N:%1;%2;;%3;\r\n").arg(last, first, title);
        v += QStringLiteral("FN:%1\r\n").arg(QString(first + QLatin1Char(' ') + last).trimmed());
        if (!company.isEmpty())
            v += QStringLiteral("ORG:%1\r\n").arg(company);
        if (!street.isEmpty())
            v += QStringLiteral("ADR;TYPE=WORK:;;%1;%2;;%3;%4\r\n").arg(street, city, zip, country);
        if (!firma2.isEmpty())
            v += QStringLiteral("X-ZETTELWERK-USERPROP-FIRMA-2;X-ZETTELWERK-NAME=\"Firma 2\";"
                                "X-ZETTELWERK-TYPE=text:%1\r\n")
                     .arg(firma2);
        return v + QStringLiteral("END:VCARD\r\n");
    }
};

// The folder "Root\Persönliche Ordner\Kontakte" of the environment's personal store.
inline QString contactsDir(const TestEnvironment& env)
{
    return env.dataHome() + QStringLiteral("/Zettelwerk/Persönliche Ordner/Kontakte");
}
inline QString contactsPath()
{
    return QStringLiteral("Root\\Persönliche Ordner\\Kontakte");
}

// Four contacts: two Müller (one with a second company line), a company without a
// person, and a Berger for the address lines.
inline void writeStandardContacts(const TestEnvironment& env)
{
    const QString dir = contactsDir(env);
    writeFile(dir + QStringLiteral("/1-berger.vcf"),
              Card{QStringLiteral("Berger"), QStringLiteral("Hans"), QStringLiteral("Herr"),
                   QStringLiteral("Muster GmbH"), QStringLiteral("Hauptstr. 1"),
                   QStringLiteral("80331"), QStringLiteral("München")}
                  .toVCard()
                  .toUtf8());
    writeFile(dir + QStringLiteral("/2-mueller-anna.vcf"),
              Card{QStringLiteral("Müller"), QStringLiteral("Anna"), QStringLiteral("Frau"),
                   QStringLiteral("Alpha AG"), QStringLiteral("Ring 2"), QStringLiteral("10115"),
                   QStringLiteral("Berlin"), QStringLiteral("Deutschland"),
                   QStringLiteral("Alpha Logistik")}
                  .toVCard()
                  .toUtf8());
    writeFile(dir + QStringLiteral("/3-stadtwerke.vcf"),
              QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:;;;;\r\nFN:Stadtwerke\r\n"
                         "ORG:Stadtwerke Fürth\r\nEND:VCARD\r\n"));
    writeFile(dir + QStringLiteral("/4-mueller-otto.vcf"),
              Card{QStringLiteral("Müller"), QStringLiteral("Otto"), QStringLiteral("Herr")}
                  .toVCard()
                  .toUtf8());
}

// Settings a test wants before the program starts (stored as the program stores them).
inline void presetSettings(const QVariantMap& values)
{
    ClsRegistry reg;
    reg.setKey(QStringLiteral("Software\\KVAR\\Zettelwerk"));
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const bool ok = it.value().typeId() == QMetaType::Bool
                            ? reg.SetBool(it.key(), it.value().toBool())
                            : reg.SetString(it.key(), it.value().toString());
        if (!ok)
            qFatal("cannot preset %s", qPrintable(it.key()));
    }
}

// The started program: globals, splash and main window, with a recording document opener.
struct Started {
    AppGlobals g;
    std::optional<MainResult> r;
    QStringList opened;
    FrmMain* w() const { return r->mainWindow.get(); }
};

// Starts the program. The first start shows its message, which the script answers.
inline std::unique_ptr<Started> start(ScriptedUserInterface& script, bool firstStart = true,
                                      const QString& contactFile = QString())
{
    auto s = std::make_unique<Started>();
    // A menu dialog a test does not drive is closed at once, as with Cancel.
    FrmMain::setDialogHook([](QDialog& dialog) { dialog.reject(); });
    s->g.documentOpener = [p = s.get()](const QString& path) { p->opened.append(path); };
    if (firstStart)
        script.answer(Mb::Ok);
    s->r.emplace(Main(s->g, 0, contactFile));
    if (!s->r->started)
        qFatal("program did not start");
    // The wizard's tests look at the built-in engine's files, not at a LibreOffice window.
    SharedWord(s->g).SetUsedVersion(ClsWord::kVersionOoxml);
    if (firstStart)
        script.takeBoxes();
    return s;
}

// A test's own run of the program: a private home, scripted boxes, the four standard contacts
// unless asked not to, and the program started as on its first day.
struct Session {
    TestEnvironment env;
    ScriptedUserInterface script;
    std::unique_ptr<Started> s;
    explicit Session(bool standardContacts = true)
    {
        if (standardContacts)
            writeStandardContacts(env);
        s = start(script);
    }
    FrmMain* w() const { return s->w(); }
};

// Marks the program as started once, so the next start shows no first-start message.
inline void registerOnce(ScriptedUserInterface& script)
{
    auto s = start(script);
    s->w()->close();
}

// Types a folder and a last name into step 1 and clicks "Suchen".
inline void searchFolder(FrmMain* w, const QString& folder, const QString& name)
{
    child<QLineEdit>(w, QStringLiteral("txtOutlookFolder"))->setText(folder);
    child<QComboBox>(w, QStringLiteral("cboSearchName"))->setEditText(name);
    child<QPushButton>(w, QStringLiteral("cmdSearch"))->click();
}

// Makes the row reading text (in column col) the current one.
inline void selectRow(QListWidget* list, const QString& text)
{
    const QList<QListWidgetItem*> items = list->findItems(text, Qt::MatchExactly);
    if (items.isEmpty())
        qFatal("no row %s", qPrintable(text));
    list->setCurrentItem(items.first());
}
inline void selectRow(QTreeWidget* tree, const QString& text, int col = 0)
{
    const QList<QTreeWidgetItem*> items = tree->findItems(text, Qt::MatchExactly, col);
    if (items.isEmpty())
        qFatal("no row %s", qPrintable(text));
    tree->setCurrentItem(items.first());
}

// Searches the personal store for a last name and chooses the hit of that first name (the
// first hit without one).
inline void chooseHit(FrmMain* w, const QString& lastName, const QString& firstName = {})
{
    searchFolder(w, contactsPath(), lastName);
    auto* hits = child<QTreeWidget>(w, QStringLiteral("lvwFound"));
    if (!firstName.isEmpty())
        selectRow(hits, firstName, 2);
    else if (hits->topLevelItemCount() > 0)
        hits->setCurrentItem(hits->topLevelItem(0));
    else
        qFatal("no hit for %s", qPrintable(lastName));
}

inline QStringList column(QTreeWidget* tree, int col)
{
    QStringList out;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        out << tree->topLevelItem(i)->text(col);
    return out;
}

// The text of every bookmark of a saved .docx (main part), read from the zip as it lies.
inline QMap<QString, QString> bookmarkTexts(const QString& docxPath)
{
    QMap<QString, QString> out;
    int err = 0;
    zip_t* z = zip_open(QFile::encodeName(docxPath).constData(), ZIP_RDONLY, &err);
    if (!z)
        return out;
    QByteArray xml;
    if (zip_file_t* f = zip_fopen(z, "word/document.xml", 0)) {
        char buf[8192];
        zip_int64_t n;
        while ((n = zip_fread(f, buf, sizeof buf)) > 0)
            xml.append(buf, qsizetype(n));
        zip_fclose(f);
    }
    zip_close(z);
    pugi::xml_document doc;
    if (!doc.load_buffer(xml.constData(), size_t(xml.size()),
                         pugi::parse_default | pugi::parse_ws_pcdata_single))
        return out;
    QMap<QString, QString> openIds; // id -> name
    struct Walker : pugi::xml_tree_walker {
        QMap<QString, QString>* open;
        QMap<QString, QString>* out;
        bool for_each(pugi::xml_node& n) override
        {
            const QString name = QString::fromUtf8(n.name());
            if (name == QLatin1String("w:bookmarkStart")) {
                const QString bm = QString::fromUtf8(n.attribute("w:name").value());
                open->insert(QString::fromUtf8(n.attribute("w:id").value()), bm);
                out->insert(bm, QString());
            } else if (name == QLatin1String("w:bookmarkEnd")) {
                open->remove(QString::fromUtf8(n.attribute("w:id").value()));
            } else if (name == QLatin1String("w:t")) {
                for (const QString& bm : *open)
                    (*out)[bm] += QString::fromUtf8(n.text().get());
            } else if (name == QLatin1String("w:p") && !open->isEmpty()) {
                // A paragraph that starts inside a bookmark continues its text on a new line.
                for (const QString& bm : *open)
                    if (!(*out)[bm].isEmpty())
                        (*out)[bm] += QLatin1Char('\n');
            }
            return true;
        }
    } walker;
    walker.open = &openIds;
    walker.out = &out;
    doc.traverse(walker);
    return out;
}

} // namespace kit
