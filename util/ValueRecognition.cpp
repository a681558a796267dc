#include "util/ValueRecognition.h"

#include <QLocale>
#include <QRegularExpression>

namespace ValueRecognition
{

namespace
{

const QLocale& german()
{
    static const QLocale locale(QLocale::German);
    return locale;
}

bool hasFraction(const QString& text)
{
    return text.contains(QLatin1Char('.')) || text.contains(QLatin1Char(','));
}

} // namespace

std::optional<qint16> toInt16(const QString& text)
{
    if (hasFraction(text))
        return std::nullopt;
    bool ok = false;
    const short value = german().toShort(text.trimmed(), &ok);
    return ok ? std::optional<qint16>(value) : std::nullopt;
}

std::optional<qint32> toInt32(const QString& text)
{
    if (hasFraction(text))
        return std::nullopt;
    bool ok = false;
    const int value = german().toInt(text.trimmed(), &ok);
    return ok ? std::optional<qint32>(value) : std::nullopt;
}

std::optional<double> toDouble(const QString& text)
{
    bool ok = false;
    const double value = german().toDouble(text.trimmed(), &ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

std::optional<QDate> toDate(const QString& text)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return std::nullopt;
    for (const char* format :
         {"d.M.yyyy", "yyyy-M-d", "d. MMMM yyyy", "d.MMMM yyyy", "d. MMM yyyy"}) {
        const QDate date = german().toDate(t, QString::fromLatin1(format));
        if (date.isValid())
            return date;
    }
    // Two-digit years and a missing year: Qt's parser would put both into 1900 (where
    // 29 February of a leap year does not exist), so they are read here.
    static const QRegularExpression shortForm(
        QStringLiteral("^(\\d{1,2})\\.(\\d{1,2})\\.(\\d{2})?$"));
    const QRegularExpressionMatch m = shortForm.match(t);
    if (m.hasMatch()) {
        int year = QDate::currentDate().year();
        if (m.hasCaptured(3)) {
            const int yy = m.captured(3).toInt();
            year = yy < 30 ? 2000 + yy : 1900 + yy;
        }
        const QDate date(year, m.captured(2).toInt(), m.captured(1).toInt());
        if (date.isValid())
            return date;
    }
    return std::nullopt;
}

std::optional<QTime> toTimeOfDay(const QString& text)
{
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return std::nullopt;
    const std::optional<qint16> hour = toInt16(text.left(colon));
    const std::optional<qint16> minute = toInt16(text.mid(colon + 1));
    if (!hour || !minute || *hour < 0 || *hour > 23 || *minute < 0 || *minute > 59)
        return std::nullopt;
    return QTime(*hour, *minute);
}

} // namespace ValueRecognition
