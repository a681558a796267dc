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

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
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

using namespace Qt::StringLiterals;

template <class T> T* child(QWidget* w, const QString& name)
{
    T* c = w->findChild<T*>(name);
    if (!c)
        qFatal("control %s missing", qPrintable(name));
    return c;
}

// One contact as a vCard 3.0 text.
struct Card {
    QString last{}, first{}, title{}, company{}, street{}, zip{}, city{};
    QString country = u"Deutschland"_s;
    QString firma2{};
    QString toVCard() const
    {
        QString v = u"BEGIN:VCARD\r\nVERSION:3.0\r\nN:%1;%2;;%3;\r\nFN:%4\r\n"_s.arg(
            last, first, title, QString(first + u' ' + last).trimmed());
        if (!company.isEmpty())
            v += u"ORG:%1\r\n"_s.arg(company);
        if (!street.isEmpty())
            v += u"ADR;TYPE=WORK:;;%1;%2;;%3;%4\r\n"_s.arg(street, city, zip, country);
        if (!firma2.isEmpty())
            v += u"X-ZETTELWERK-USERPROP-FIRMA-2;X-ZETTELWERK-NAME=\"Firma 2\";"
                 "X-ZETTELWERK-TYPE=text:%1\r\n"_s.arg(firma2);
        return v + u"END:VCARD\r\n"_s;
    }
};

// The folder "Root\Persönliche Ordner\Kontakte" of the environment's personal store.
inline QString contactsDir(const TestEnvironment& env)
{
    return env.dataHome() + u"/Zettelwerk/Persönliche Ordner/Kontakte"_s;
}
inline QString contactsPath()
{
    return u"Root\\Persönliche Ordner\\Kontakte"_s;
}
inline void writeCard(const TestEnvironment& env, const QString& file, const Card& card)
{
    writeFile(contactsDir(env) + u'/' + file, card.toVCard().toUtf8());
}

// Four contacts: two Müller (one with a second company line), a company without a
// person, and a Berger for the address lines.
inline const Card kBerger{u"Berger"_s,      u"Hans"_s,  u"Herr"_s,   u"Muster GmbH"_s,
                          u"Hauptstr. 1"_s, u"80331"_s, u"München"_s};
inline void writeStandardContacts(const TestEnvironment& env)
{
    writeCard(env, u"1-berger.vcf"_s, kBerger);
    writeCard(env, u"2-mueller-anna.vcf"_s,
              {u"Müller"_s, u"Anna"_s, u"Frau"_s, u"Alpha AG"_s, u"Ring 2"_s, u"10115"_s,
               u"Berlin"_s, u"Deutschland"_s, u"Alpha Logistik"_s});
    writeFile(contactsDir(env) + u"/3-stadtwerke.vcf"_s,
              "BEGIN:VCARD\r\nVERSION:3.0\r\nN:;;;;\r\nFN:Stadtwerke\r\n"
              "ORG:Stadtwerke Fürth\r\nEND:VCARD\r\n");
    writeCard(env, u"4-mueller-otto.vcf"_s, {u"Müller"_s, u"Otto"_s, u"Herr"_s});
}

// Settings a test wants before the program starts (stored as the program stores them).
inline void presetSettings(const QVariantMap& values)
{
    ClsRegistry reg;
    reg.setKey(u"Software\\KVAR\\Zettelwerk"_s);
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
    template <class T = QPushButton> T* get(const QString& name) const
    {
        return child<T>(w(), name);
    }
    QString text(const QString& labelName) const { return get<QLabel>(labelName)->text(); }
    QStringList texts(const QStringList& labelNames) const
    {
        QStringList out;
        for (const QString& name : labelNames)
            out << text(name);
        return out;
    }
    void trigger(const QString& action) const { get<QAction>(action)->trigger(); }
    // Closes the window and starts again in the same home, as on the next day.
    void restart()
    {
        w()->close();
        s = start(script, false);
    }
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
    child<QLineEdit>(w, u"txtOutlookFolder"_s)->setText(folder);
    child<QComboBox>(w, u"cboSearchName"_s)->setEditText(name);
    child<QPushButton>(w, u"cmdSearch"_s)->click();
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
    auto* hits = child<QTreeWidget>(w, u"lvwFound"_s);
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
    QByteArray xml;
    int err = 0;
    if (zip_t* z = zip_open(QFile::encodeName(docxPath).constData(), ZIP_RDONLY, &err)) {
        if (zip_file_t* f = zip_fopen(z, "word/document.xml", 0)) {
            char buf[8192];
            for (zip_int64_t n; (n = zip_fread(f, buf, sizeof buf)) > 0;)
                xml.append(buf, qsizetype(n));
            zip_fclose(f);
        }
        zip_close(z);
    }
    pugi::xml_document doc;
    doc.load_buffer(xml.constData(), size_t(xml.size()),
                    pugi::parse_default | pugi::parse_ws_pcdata_single);
    QMap<QString, QString> out, open; // open: id -> name
    pugi::xpath_node_set nodes =
        doc.select_nodes("//w:bookmarkStart | //w:bookmarkEnd | //w:p | //w:t");
    nodes.sort();
    for (const pugi::xpath_node& x : nodes) {
        const std::string_view name = x.node().name();
        const QString id = QString::fromUtf8(x.node().attribute("w:id").value());
        if (name == "w:bookmarkStart")
            out.insert(open[id] = QString::fromUtf8(x.node().attribute("w:name").value()), {});
        else if (name == "w:bookmarkEnd")
            open.remove(id);
        for (const QString& bm : std::as_const(open)) {
            if (name == "w:t")
                out[bm] += QString::fromUtf8(x.node().text().get());
            // A paragraph that starts inside a bookmark continues its text on a new line.
            else if (name == "w:p" && !out[bm].isEmpty())
                out[bm] += u'\n';
        }
    }
    return out;
}

} // namespace kit
