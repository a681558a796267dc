#include "cli/CliUserInterface.h"

#include <cstdio>

namespace
{

void writeLine(FILE* stream, QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

} // namespace

int CliUserInterface::msgBox(const QString& text, int style, const QString&)
{
    if (m_capturing)
        m_captured.append(text);
    else
        printError(text);
    switch (Mb::buttonsOf(style)) {
    case Mb::OkCancel:
    case Mb::YesNoCancel:
    case Mb::RetryCancel:
        return Mb::Cancel;
    case Mb::AbortRetryIgnore:
        return Mb::Abort;
    case Mb::YesNo:
        return Mb::No;
    default:
        return Mb::Ok;
    }
}

void CliUserInterface::beginCapture()
{
    m_capturing = true;
    m_captured.clear();
}

QStringList CliUserInterface::endCapture()
{
    m_capturing = false;
    return std::exchange(m_captured, {});
}

void CliUserInterface::printError(const QString& text)
{
    writeLine(stderr, text);
}

void CliUserInterface::printOut(const QString& text)
{
    writeLine(stdout, text);
}
