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

// The texts of a list, or of one column of a tree's rows; the row of a text (-1: none).
inline QStringList texts(QListWidget* list)
{
    QStringList result;
    for (int i = 0; i < list->count(); ++i)
        result.append(list->item(i)->text());
    return result;
}

inline QStringList column(QTreeWidget* tree, int column)
{
    QStringList texts;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        texts.append(tree->topLevelItem(i)->text(column));
    return texts;
}

inline int rowOf(QListWidget* list, const QString& text)
{
    return int(texts(list).indexOf(text));
}

inline int rowOf(QTreeWidget* tree, const QString& text)
{
    return int(column(tree, 0).indexOf(text));
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

// With `twice` a double click, which arrives after a first click, as from a mouse.
inline void clickRow(QListWidget* list, int row, bool twice = false)
{
    QListWidgetItem* item = list->item(row);
    if (!item)
        qFatal("row %d missing", row);
    list->scrollToItem(item);
    const QPoint at = list->visualItemRect(item).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
    if (twice)
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
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
