#pragma once

// Finding and working the controls of a dialog the way a user would.

#include <QApplication>
#include <QFile>
#include <QHeaderView>
#include <QListWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QWidget>

namespace DialogTestHelpers
{

template <class T> T* child(QWidget* w, const char* name)
{
    T* c = w->findChild<T*>(QLatin1String(name));
    if (!c)
        qFatal("control %s missing", name);
    return c;
}

// A real click into the row's cell of a shown tree or list.
inline void clickRow(QTreeWidget* tree, int row, int column = 0)
{
    QTreeWidgetItem* item = tree->topLevelItem(row);
    if (!item)
        qFatal("row %d missing", row);
    tree->scrollToItem(item);
    const QPoint at(tree->header()->sectionViewportPosition(column) + 24,
                    tree->visualItemRect(item).center().y());
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, at);
}

inline void clickRow(QListWidget* list, int row)
{
    QListWidgetItem* item = list->item(row);
    if (!item)
        qFatal("row %d missing", row);
    list->scrollToItem(item);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(item).center());
}

inline void doubleClickRow(QListWidget* list, int row)
{
    QListWidgetItem* item = list->item(row);
    list->scrollToItem(item);
    const QPoint at = list->visualItemRect(item).center();
    // A double click arrives after a first click, as from a mouse.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
}

inline int rowOf(QListWidget* list, const QString& text)
{
    for (int i = 0; i < list->count(); ++i)
        if (list->item(i)->text() == text)
            return i;
    return -1;
}

inline int rowOf(QTreeWidget* tree, const QString& text)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        if (tree->topLevelItem(i)->text(0) == text)
            return i;
    return -1;
}

inline QStringList column(QTreeWidget* tree, int column)
{
    QStringList texts;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        texts.append(tree->topLevelItem(i)->text(column));
    return texts;
}

inline QStringList texts(QListWidget* list)
{
    QStringList result;
    for (int i = 0; i < list->count(); ++i)
        result.append(list->item(i)->text());
    return result;
}

// PATH pointing at a folder that holds, or lacks, an executable "soffice": decides whether
// LibreOffice counts as installed.
class FakeSofficePath
{
public:
    explicit FakeSofficePath(bool installed) : m_old(qgetenv("PATH"))
    {
        if (installed) {
            QFile file(m_dir.filePath(QStringLiteral("soffice")));
            file.open(QIODevice::WriteOnly);
            file.write("#!/bin/sh\nexit 0\n");
            file.close();
            file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QFile(m_dir.filePath(QStringLiteral("libswlo.so"))).open(QIODevice::WriteOnly);
        }
        qputenv("PATH", m_dir.path().toUtf8());
    }
    ~FakeSofficePath() { qputenv("PATH", m_old); }
    void setInstalled(bool installed)
    {
        if (!installed)
            QFile::remove(m_dir.filePath(QStringLiteral("soffice")));
    }

private:
    QTemporaryDir m_dir;
    QByteArray m_old;
};

} // namespace DialogTestHelpers
