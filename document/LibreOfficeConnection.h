#pragma once

#include "util/ZwError.h"

#include <QList>
#include <QString>
#include <com/sun/star/bridge/XBridge.hpp>
#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/uno/Exception.hpp>
#include <com/sun/star/uno/XComponentContext.hpp>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

// One connection to a LibreOffice process over UNO: the office listening on a named pipe with
// a profile of its own, so that it never meets an office the user started. connect() attaches
// to the office already listening on that pipe or starts one. Every remote call runs under a
// time limit: when the office does not answer in time, the bridge is torn down (and an office
// started here is killed), so that the program stays usable.
//
// UNO failures leave as ZwError: a broken bridge (the office quit or crashed) as ServerGone
// (462), a time limit passed as NotResponding, anything else with the given number.
class LibreOfficeConnection
{
public:
    struct Options {
        QString soffice;       // the soffice program
        QString profileFolder; // its own user profile (created by the office on first start)
        bool headless = true;  // no windows at all (no display, or no GUI in the office)
        int startTimeoutMs = 60000;
        int callTimeoutMs = 30000;
    };

    explicit LibreOfficeConnection(Options options);
    // Lets go of the office; it keeps running (documents the user works on stay open).
    ~LibreOfficeConnection();
    LibreOfficeConnection(const LibreOfficeConnection&) = delete;
    LibreOfficeConnection& operator=(const LibreOfficeConnection&) = delete;

    // Attaches to the office on the pipe or starts one, within the start time limit.
    void connect();
    // True when the bridge stands and the office answers within the call time limit.
    bool isAlive();
    // Closes the office when it was started here and holds no window any more; otherwise
    // just lets go. Errors are ignored: the office may be gone already.
    void release();

    bool headless() const { return m_options.headless; }
    bool startedHere() const { return m_pid > 0; }
    qint64 processId() const { return m_pid; }
    void setCallTimeout(int ms) { m_options.callTimeoutMs = ms; }
    const QString& pipeName() const { return m_pipe; }

    css::uno::Reference<css::frame::XDesktop2> desktop() const { return m_desktop; }
    css::uno::Reference<css::uno::XComponentContext> context() const { return m_remote; }

    // Runs f (remote calls) under the call time limit and turns UNO exceptions into ZwError;
    // failNumber and what describe other UNO failures ("Die Vorlage ... kann nicht ...").
    template <class F> auto call(F&& f, long failNumber, const QString& what) -> decltype(f())
    {
        Armed armed(*this, m_options.callTimeoutMs);
        try {
            return f();
        } catch (const css::uno::Exception& e) {
            throwMapped(e.Message, failNumber, what);
        }
    }

    // The pipe name an office with this profile listens on.
    static QString pipeNameFor(const QString& profileFolder);
    // Process ids of the offices serving the pipe (soffice.bin, found by its command line).
    static QList<qint64> processesServing(const QString& pipe);

private:
    struct Armed {
        Armed(LibreOfficeConnection& c, int ms);
        ~Armed();
        LibreOfficeConnection& connection;
    };
    [[noreturn]] void throwMapped(const rtl::OUString& message, long failNumber,
                                  const QString& what);
    bool tryBridge();
    void startOffice();
    void watch();
    void expire();
    void dropBridge();
    bool processRunning() const;

    Options m_options;
    QString m_pipe;
    qint64 m_pid = 0;
    css::uno::Reference<css::bridge::XBridge> m_bridge;
    css::uno::Reference<css::uno::XComponentContext> m_remote;
    css::uno::Reference<css::frame::XDesktop2> m_desktop;

    // The time limit: one thread waits for the armed deadline of the call in progress.
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_watcher;
    bool m_stop = false;
    bool m_armed = false;
    bool m_expired = false;
    std::chrono::steady_clock::time_point m_deadline;
    int m_armedMs = 0;
};
