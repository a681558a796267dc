#pragma once

#include <QDialog>
#include <QIcon>

class QLabel;
class QPlainTextEdit;
class QTimer;

// The about window: product, version and copyright, the revision history it is handed, a
// free text line, an "under construction" mark that can blink, and what the system is
// (operating system, computer, user, Qt).
class FrmInfo : public QDialog
{
    Q_OBJECT
public:
    explicit FrmInfo(QWidget* parent = nullptr);

    // The program's release lines, newest last.
    static QString releaseHistory();

    void setRevisionHistory(const QString& text);
    QString revisionHistory() const;
    // The mark "in Arbeit" blinks twice a second while on; off hides it.
    void setUnderConstructionBlinking(bool on);
    bool underConstructionBlinking() const;
    void setFreeText(const QString& text);
    QString freeText() const;
    // A caption beside the mark; empty shows the mark alone.
    void setUnderConstructionCaption(const QString& text);
    void setIcon(const QIcon& icon);

private:
    QLabel* m_icon;
    QPlainTextEdit* m_history;
    QLabel* m_mark;
    QLabel* m_markCaption;
    QLabel* m_freeText;
    QTimer* m_blink;
};
