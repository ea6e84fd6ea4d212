#include "provider/xmlrpc/XmlRpcValue.h"

#include <QDebug>
#include <QFile>
#include <QTimeZone>

#include <charconv>
#include <clocale>
#include <cmath>
#include <limits>
#include <locale.h>
#include <stdlib.h>
#include <string>

namespace {

constexpr qsizetype kDescriptionTextLimit = 200;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads exactly `count` digits at `pos`; -1 when any of them is not a digit.
int digitsAt(QByteArrayView text, qsizetype pos, int count)
{
    int result = 0;
    for (int i = 0; i < count; ++i) {
        const char c = text[pos + i];
        if (!isDigit(c))
            return -1;
        result = result * 10 + (c - '0');
    }
    return result;
}

template <typename Number>
QByteArray shortestText(Number number)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
    return QByteArray(buffer, result.ptr - buffer);
}

QString abbreviated(const QString &text)
{
    if (text.size() <= kDescriptionTextLimit)
        return text;
    return text.left(kDescriptionTextLimit)
           + QStringLiteral("... (%1 characters)").arg(text.size());
}

void describe(const XmlRpcValue &value, QString &out)
{
    switch (value.type()) {
    case XmlRpcValue::Type::Null:
        out += QLatin1String("null");
        break;
    case XmlRpcValue::Type::Bool:
        out += value.toBool() ? QLatin1String("true") : QLatin1String("false");
        break;
    case XmlRpcValue::Type::Int:
    case XmlRpcValue::Type::Float:
    case XmlRpcValue::Type::Double:
        out += value.toString();
        break;
    case XmlRpcValue::Type::String:
        out += QLatin1Char('"') + abbreviated(value.toString()) + QLatin1Char('"');
        break;
    case XmlRpcValue::Type::DateTime:
        out += value.toDateTime().toString(Qt::ISODate);
        break;
    case XmlRpcValue::Type::Bytes:
        out += QStringLiteral("<%1 bytes>").arg(value.toByteArray().size());
        break;
    case XmlRpcValue::Type::List: {
        out += QLatin1Char('[');
        const XmlRpcList list = value.toList();
        for (qsizetype i = 0; i < list.size(); ++i) {
            if (i > 0)
                out += QLatin1String(", ");
            describe(list[i], out);
        }
        out += QLatin1Char(']');
        break;
    }
    case XmlRpcValue::Type::Map: {
        out += QLatin1Char('{');
        bool first = true;
        for (const XmlRpcMap::Member &member : value.toMap()) {
            if (!first)
                out += QLatin1String(", ");
            first = false;
            out += QLatin1Char('"') + member.key + QLatin1String("\": ");
            describe(member.value, out);
        }
        out += QLatin1Char('}');
        break;
    }
    case XmlRpcValue::Type::InputStream:
        out += QLatin1String("<input stream>");
        break;
    case XmlRpcValue::Type::FileHandle:
        out += QLatin1String("<file>");
        break;
    }
}

} // namespace

XmlRpcValue::XmlRpcValue(bool value)
    : m_data(std::in_place_index<1>, value)
{}

XmlRpcValue::XmlRpcValue(float value)
    : m_data(std::in_place_index<3>, value)
{}

XmlRpcValue::XmlRpcValue(double value)
    : m_data(std::in_place_index<4>, value)
{}

XmlRpcValue::XmlRpcValue(const QString &value)
    : m_data(Utf8{value.toUtf8()})
{}

XmlRpcValue::XmlRpcValue(const char *utf8)
    : m_data(Utf8{QByteArray(utf8)})
{}

XmlRpcValue::XmlRpcValue(const QDateTime &value)
{
    if (value.isValid())
        m_data = value.toUTC();
}

XmlRpcValue::XmlRpcValue(const XmlRpcList &value)
    : m_data(std::make_shared<XmlRpcList>(value))
{}

XmlRpcValue::XmlRpcValue(const XmlRpcMap &value)
    : m_data(std::make_shared<XmlRpcMap>(value))
{}

XmlRpcValue XmlRpcValue::fromUtf8(const QByteArray &utf8)
{
    XmlRpcValue result;
    result.m_data = Utf8{utf8};
    return result;
}

XmlRpcValue XmlRpcValue::fromBytes(const QByteArray &bytes)
{
    XmlRpcValue result;
    result.m_data = Bytes{bytes};
    return result;
}

XmlRpcValue XmlRpcValue::fromInputStream(std::shared_ptr<QIODevice> device)
{
    XmlRpcValue result;
    if (device)
        result.m_data = Stream{std::move(device)};
    return result;
}

XmlRpcValue XmlRpcValue::fromFileHandle(std::shared_ptr<QFile> file)
{
    XmlRpcValue result;
    if (file)
        result.m_data = File{std::move(file)};
    return result;
}

const XmlRpcValue &XmlRpcValue::null()
{
    static const XmlRpcValue value;
    return value;
}

QString XmlRpcValue::toString() const
{
    switch (type()) {
    case Type::String:
        return QString::fromUtf8(std::get<Utf8>(m_data).text);
    case Type::Int:
        return QString::number(std::get<qint64>(m_data));
    case Type::Float:
        return QString::fromLatin1(textForNumber(std::get<float>(m_data)));
    case Type::Double:
        return QString::fromLatin1(textForNumber(std::get<double>(m_data)));
    case Type::Bool:
        return std::get<bool>(m_data) ? QStringLiteral("1") : QStringLiteral("0");
    default:
        return QString();
    }
}

QByteArray XmlRpcValue::toUtf8() const
{
    return type() == Type::String ? std::get<Utf8>(m_data).text : QByteArray();
}

QByteArray XmlRpcValue::toByteArray() const
{
    if (type() == Type::Bytes)
        return std::get<Bytes>(m_data).data;
    return toUtf8();
}

qint64 XmlRpcValue::toInt(qint64 defaultValue) const
{
    switch (type()) {
    case Type::Int:
        return std::get<qint64>(m_data);
    case Type::Bool:
        return std::get<bool>(m_data) ? 1 : 0;
    case Type::Float:
    case Type::Double: {
        const double number = toDouble();
        // 2^63 is exactly representable; anything at or beyond it does not fit.
        constexpr double limit = 9223372036854775808.0;
        if (std::isfinite(number) && number > -limit && number < limit)
            return qint64(number);
        return defaultValue;
    }
    case Type::String:
        return integerFromText(std::get<Utf8>(m_data).text.trimmed());
    default:
        return defaultValue;
    }
}

double XmlRpcValue::toDouble(double defaultValue) const
{
    switch (type()) {
    case Type::Int:
        return double(std::get<qint64>(m_data));
    case Type::Float:
        return double(std::get<float>(m_data));
    case Type::Double:
        return std::get<double>(m_data);
    case Type::String:
        return doubleFromText(std::get<Utf8>(m_data).text.trimmed());
    default:
        return defaultValue;
    }
}

bool XmlRpcValue::toBool() const
{
    switch (type()) {
    case Type::Bool:
        return std::get<bool>(m_data);
    case Type::Int:
        return std::get<qint64>(m_data) != 0;
    default:
        return false;
    }
}

QDateTime XmlRpcValue::toDateTime() const
{
    return type() == Type::DateTime ? std::get<QDateTime>(m_data) : QDateTime();
}

XmlRpcList XmlRpcValue::toList() const
{
    return type() == Type::List ? *std::get<std::shared_ptr<XmlRpcList>>(m_data) : XmlRpcList();
}

XmlRpcMap XmlRpcValue::toMap() const
{
    return type() == Type::Map ? *std::get<std::shared_ptr<XmlRpcMap>>(m_data) : XmlRpcMap();
}

std::shared_ptr<QIODevice> XmlRpcValue::toInputStream() const
{
    return type() == Type::InputStream ? std::get<Stream>(m_data).device : nullptr;
}

std::shared_ptr<QFile> XmlRpcValue::toFileHandle() const
{
    return type() == Type::FileHandle ? std::get<File>(m_data).file : nullptr;
}

qsizetype XmlRpcValue::size() const
{
    if (type() == Type::List)
        return std::get<std::shared_ptr<XmlRpcList>>(m_data)->size();
    if (type() == Type::Map)
        return std::get<std::shared_ptr<XmlRpcMap>>(m_data)->size();
    return 0;
}

const XmlRpcValue &XmlRpcValue::operator[](const QString &key) const
{
    if (type() != Type::Map)
        return null();
    return (*std::get<std::shared_ptr<XmlRpcMap>>(m_data))[key];
}

const XmlRpcValue &XmlRpcValue::operator[](const char *key) const
{
    return (*this)[QString::fromUtf8(key)];
}

const XmlRpcValue &XmlRpcValue::operator[](qsizetype index) const
{
    if (type() != Type::List)
        return null();
    const XmlRpcList &list = *std::get<std::shared_ptr<XmlRpcList>>(m_data);
    return index >= 0 && index < list.size() ? list[index] : null();
}

bool XmlRpcValue::contains(const QString &key) const
{
    return type() == Type::Map && std::get<std::shared_ptr<XmlRpcMap>>(m_data)->contains(key);
}

QStringList XmlRpcValue::keys() const
{
    return type() == Type::Map ? std::get<std::shared_ptr<XmlRpcMap>>(m_data)->keys()
                               : QStringList();
}

XmlRpcList &XmlRpcValue::mutableList()
{
    auto &list = std::get<std::shared_ptr<XmlRpcList>>(m_data);
    if (list.use_count() > 1)
        list = std::make_shared<XmlRpcList>(*list);
    return *list;
}

XmlRpcMap &XmlRpcValue::mutableMap()
{
    auto &map = std::get<std::shared_ptr<XmlRpcMap>>(m_data);
    if (map.use_count() > 1)
        map = std::make_shared<XmlRpcMap>(*map);
    return *map;
}

void XmlRpcValue::append(const XmlRpcValue &value)
{
    if (isNull())
        m_data = std::make_shared<XmlRpcList>();
    if (isList())
        mutableList().append(value);
}

void XmlRpcValue::insert(const QString &key, const XmlRpcValue &value)
{
    if (isNull())
        m_data = std::make_shared<XmlRpcMap>();
    if (isMap())
        mutableMap().insert(key, value);
}

void XmlRpcValue::remove(const QString &key)
{
    if (isNull())
        m_data = std::make_shared<XmlRpcMap>();
    if (isMap())
        mutableMap().remove(key);
}

bool operator==(const XmlRpcValue &a, const XmlRpcValue &b)
{
    if (a.type() != b.type())
        return false;
    using Type = XmlRpcValue::Type;
    switch (a.type()) {
    case Type::List: {
        const auto &left = std::get<std::shared_ptr<XmlRpcList>>(a.m_data);
        const auto &right = std::get<std::shared_ptr<XmlRpcList>>(b.m_data);
        return left == right || *left == *right;
    }
    case Type::Map: {
        const auto &left = std::get<std::shared_ptr<XmlRpcMap>>(a.m_data);
        const auto &right = std::get<std::shared_ptr<XmlRpcMap>>(b.m_data);
        return left == right || *left == *right;
    }
    case Type::String:
        return std::get<XmlRpcValue::Utf8>(a.m_data).text
               == std::get<XmlRpcValue::Utf8>(b.m_data).text;
    case Type::Bytes:
        return std::get<XmlRpcValue::Bytes>(a.m_data).data
               == std::get<XmlRpcValue::Bytes>(b.m_data).data;
    case Type::InputStream:
        return std::get<XmlRpcValue::Stream>(a.m_data).device
               == std::get<XmlRpcValue::Stream>(b.m_data).device;
    case Type::FileHandle:
        return std::get<XmlRpcValue::File>(a.m_data).file
               == std::get<XmlRpcValue::File>(b.m_data).file;
    case Type::Null:
        return true;
    case Type::Bool:
        return a.toBool() == b.toBool();
    case Type::Int:
        return a.toInt() == b.toInt();
    case Type::Float:
    case Type::Double:
        return a.toDouble() == b.toDouble();
    case Type::DateTime:
        return a.toDateTime() == b.toDateTime();
    }
    return false;
}

QString XmlRpcValue::description() const
{
    QString out;
    describe(*this, out);
    return out;
}

QDebug operator<<(QDebug debug, const XmlRpcValue &value)
{
    QDebugStateSaver saver(debug);
    debug.noquote().nospace() << value.description();
    return debug;
}

qint64 XmlRpcValue::integerFromText(QByteArrayView text)
{
    qsizetype pos = 0;
    bool negative = false;
    if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) {
        negative = text[pos] == '-';
        ++pos;
    }
    // Accumulate towards the sign so that the most negative number needs no special case.
    qint64 result = 0;
    constexpr qint64 max = std::numeric_limits<qint64>::max();
    constexpr qint64 min = std::numeric_limits<qint64>::min();
    for (; pos < text.size() && isDigit(text[pos]); ++pos) {
        const int digit = text[pos] - '0';
        if (negative) {
            if (result < (min + digit) / 10)
                return min;
            result = result * 10 - digit;
        } else {
            if (result > (max - digit) / 10)
                return max;
            result = result * 10 + digit;
        }
    }
    return result;
}

double XmlRpcValue::doubleFromText(QByteArrayView text)
{
    const char *begin = text.data();
    const char *end = begin + text.size();
    bool negative = false;
    if (begin != end && *begin == '+') {
        ++begin;
    } else if (begin != end && *begin == '-') {
        negative = true;
        ++begin;
    }
    // A second sign ("+-1") is no number.
    if (begin != end && (*begin == '+' || *begin == '-'))
        return 0.0;
    double result = 0.0;
    const auto parsed = std::from_chars(begin, end, result, std::chars_format::general);
    if (parsed.ec == std::errc::invalid_argument)
        return 0.0;
    if (parsed.ec == std::errc::result_out_of_range) {
        // from_chars leaves the result alone; strtod tells overflow (HUGE_VAL) from underflow.
        static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
        const std::string number(begin, parsed.ptr);
        result = strtod_l(number.c_str(), nullptr, cLocale);
    }
    return negative ? -result : result;
}

QDateTime XmlRpcValue::dateFromText(QByteArrayView text)
{
    // "yyyyMMddTHH:mm:ss" (17) or "yyyy-MM-ddTHH:mm:ss" (19), optionally with "Z".
    if (text.endsWith('Z'))
        text.chop(1);
    int year = 0, month = 0, day = 0;
    qsizetype timeAt = 0;
    if (text.size() == 17) {
        year = digitsAt(text, 0, 4);
        month = digitsAt(text, 4, 2);
        day = digitsAt(text, 6, 2);
        timeAt = 8;
    } else if (text.size() == 19 && text[4] == '-' && text[7] == '-') {
        year = digitsAt(text, 0, 4);
        month = digitsAt(text, 5, 2);
        day = digitsAt(text, 8, 2);
        timeAt = 10;
    } else {
        return QDateTime();
    }
    if (text[timeAt] != 'T' || text[timeAt + 3] != ':' || text[timeAt + 6] != ':')
        return QDateTime();
    const int hour = digitsAt(text, timeAt + 1, 2);
    const int minute = digitsAt(text, timeAt + 4, 2);
    const int second = digitsAt(text, timeAt + 7, 2);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0)
        return QDateTime();
    const QDate date(year, month, day);
    const QTime time(hour, minute, second);
    if (!date.isValid() || !time.isValid())
        return QDateTime();
    return QDateTime(date, time, QTimeZone::utc());
}

QByteArray XmlRpcValue::textForNumber(double number)
{
    return shortestText(number);
}

QByteArray XmlRpcValue::textForNumber(float number)
{
    return shortestText(number);
}
