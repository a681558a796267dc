#pragma once

#include "document/EngineDocument.h"
#include "document/LibreOfficeSession.h"

#include <QStringList>
#include <com/sun/star/lang/XComponent.hpp>
#include <com/sun/star/text/XTextCursor.hpp>
#include <com/sun/star/text/XTextRange.hpp>
#include <memory>

// A Writer document made by LibreOffice from a template (or blank), driven over UNO. Live
// documents sit in a Writer window: present() leaves them there, unsaved, for the user, who
// owns them from then on (close() lets go of them instead of closing them).
class LibreOfficeDocument : public EngineDocument
{
public:
    LibreOfficeDocument(css::uno::Reference<css::lang::XComponent> model, QString templatePath,
                        bool live, std::shared_ptr<LibreOfficeSession> session);
    ~LibreOfficeDocument() override;

    QString templatePath() const override { return m_templatePath; }
    int bookmarkCount() const override;
    QString bookmarkName(int index) const override;
    bool bookmarkExists(const QString& name) const override;
    void goToBookmark(const QString& name) override;
    void typeText(const QString& text) override;
    bool isProtected() const override;
    void unprotect() override;
    QString save(const QString& folder = QString()) override;
    QString savedPath() const override { return m_savedPath; }
    bool isDirty() const override { return m_dirty; }
    QString present() override;
    void close(bool saveChanges) override;
    bool isClosed() const override { return m_closed; }
    bool isOpenForUser() const override { return m_presented && m_live; }

    // The extension save() writes, with its dot: from the session's format or the template.
    QString saveExtension() const;

private:
    void ensureUsable() const;
    const QStringList& names() const;
    QString actualName(const QString& name) const;
    void write(const QString& text);

    css::uno::Reference<css::lang::XComponent> m_model;
    QString m_templatePath;
    bool m_live;
    std::shared_ptr<LibreOfficeSession> m_session;

    mutable QStringList m_names; // visible, sorted
    mutable QStringList m_allNames;
    mutable bool m_namesValid = false;
    mutable int m_protection = -1; // -1 not asked yet
    QString m_selected;            // actual name of the selected bookmark; empty: insertion point
    css::uno::Reference<css::text::XTextCursor> m_insertion;

    bool m_presented = false;
    bool m_dirty = false;
    bool m_closed = false;
    QString m_savedPath;
};
