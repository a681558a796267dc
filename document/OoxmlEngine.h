#pragma once

#include "document/DocumentEngine.h"
#include "document/OoxmlLimits.h"

#include <QDateTime>
#include <QHash>
#include <memory>
#include <vector>

class OoxmlDocument;
class OoxmlTemplate;
struct OoxmlSession;

// The built-in document engine ("Zettelwerk DOCX"): templates .dotx, .dotm and .docx, results
// .docx, all in-process with libzip and pugixml; always available. Templates are read and
// parsed once and kept while their file stays unchanged (path, size, time, inode).
class OoxmlEngine : public DocumentEngine
{
public:
    OoxmlEngine();
    ~OoxmlEngine() override;

    QString productName() const override;
    void open() override;
    bool isOpen() const override;
    void setVisible(bool visible) override;
    bool isVisible() const override;
    void quit(bool saveChanges) override;
    std::shared_ptr<EngineDocument> addDocument(const QString& templatePath) override;
    QList<std::shared_ptr<EngineDocument>> documents() const override;
    void setOutputFolder(const QString& folder) override;
    QString outputFolder() const override;
    void setOpener(Opener opener) override;

    void setLimits(const OoxmlLimits& limits);
    OoxmlLimits limits() const { return m_limits; }
    // Deflate level of rewritten entries (1 fastest .. 9 smallest; default 1).
    void setCompressionLevel(int level);
    // Whether a saved document is flushed to the disk before it gets its name (default on).
    void setSyncToDisk(bool sync);
    void clearTemplateCache();

private:
    struct CachedTemplate {
        std::shared_ptr<const OoxmlTemplate> parsed;
        qint64 size = 0;
        qint64 modifiedNs = 0;
        quint64 inode = 0;
        quint64 lastUse = 0;
    };
    std::shared_ptr<const OoxmlTemplate> templateFor(const QString& path);
    std::shared_ptr<const OoxmlTemplate> blankTemplate();

    std::shared_ptr<OoxmlSession> m_session;
    OoxmlLimits m_limits;
    std::vector<std::shared_ptr<OoxmlDocument>> m_documents;
    QHash<QString, CachedTemplate> m_cache;
    std::shared_ptr<const OoxmlTemplate> m_blank;
    quint64 m_useCounter = 0;
};
