#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <concepts>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <variant>

class QDebug;
class QFile;
class QIODevice;
class XmlRpcMap;
class XmlRpcValue;

using XmlRpcList = QList<XmlRpcValue>;

// One value of an XML-RPC document: what the encoder writes and what the decoder returns.
//
// Lists and maps are shared between copies until one of them is changed; like Qt's implicitly
// shared types, a value may be read from several threads but changed only by one. Strings are kept
// as UTF-8, the form in which they travel, so that a large text (a document as base-64) is never
// widened to UTF-16 on its way through the codec. Maps keep their members in insertion order,
// because the provider's request structs have a fixed member order.
//
// Reading is forgiving: a missing member or a value of another type reads as the null value,
// so `status["SessionStatus"].toString()` or `value["CurrentBalance"]["Currency"]` never fail.
//
// What the decoder makes of scalar texts (after trimming white space at both ends):
// - "int" / "i4": the leading decimal integer with an optional sign, read as 64 bits whatever
//   the tag says ("2147483648" stays 2147483648); "12abc" reads as 12; a text without leading
//   digits ("abc", "") as 0; a number beyond 64 bits clamps to the nearest 64-bit limit.
// - "double": the leading decimal number with optional sign, point and exponent, also "inf",
//   "infinity" and "nan" in any case ("1.5kg" reads as 1.5); no number at all reads as 0.0; an
//   exponent beyond the double range reads as +/-infinity, below it as 0.0.
// - "boolean": true only for the exact text "1"; everything else is false.
// - "string", and a value without a type element: the text as it stands.
// - "dateTime.iso8601": "yyyyMMddTHH:mm:ss" or "yyyy-MM-ddTHH:mm:ss", each optionally followed by
//   "Z", read as GMT; any other text, or a day or time that does not exist, is the null value
//   (which removes the member from its struct).
// - "base64": characters outside the base-64 alphabet (line breaks, spaces, anything foreign)
//   are skipped; decoding ends at the first "="; a last lone base-64 digit is dropped.
class XmlRpcValue
{
public:
    // The order is the order of the alternatives in m_data.
    enum class Type {
        Null,
        Bool,
        Int,
        Float, // a single-precision number: written like an integer, with its decimal text
        Double,
        String,
        DateTime,
        Bytes,
        List,
        Map,
        InputStream, // a QIODevice read in chunks while the document is written
        FileHandle,  // an open file read from its current position in chunks
    };

    XmlRpcValue() = default;
    XmlRpcValue(std::nullptr_t) {}
    XmlRpcValue(bool value);
    template <typename T>
    requires std::integral<T> &&(!std::same_as<T, bool>)&&(!std::same_as<T, char>)&&(
        std::is_signed_v<T> || sizeof(T) < sizeof(qint64)) XmlRpcValue(T value)
        : m_data(std::in_place_index<2>, qint64(value))
    {}
    XmlRpcValue(float value);
    XmlRpcValue(double value);
    XmlRpcValue(const QString &value);
    XmlRpcValue(const char *utf8);
    // An invalid date makes the null value.
    XmlRpcValue(const QDateTime &value);
    XmlRpcValue(const XmlRpcList &value);
    XmlRpcValue(const XmlRpcMap &value);
    // A pointer of any other kind would silently become a boolean.
    XmlRpcValue(const void *) = delete;

    static XmlRpcValue fromUtf8(const QByteArray &utf8);
    static XmlRpcValue fromBytes(const QByteArray &bytes);
    // A device that is not open yet is opened for reading; it is closed once it has been
    // written. The device must stay usable until encoding has finished.
    static XmlRpcValue fromInputStream(std::shared_ptr<QIODevice> device);
    // A file already open for reading; it is read from its current position and left open.
    static XmlRpcValue fromFileHandle(std::shared_ptr<QFile> file);

    Type type() const { return Type(m_data.index()); }
    bool isNull() const { return type() == Type::Null; }
    bool isBool() const { return type() == Type::Bool; }
    bool isInt() const { return type() == Type::Int; }
    bool isDouble() const { return type() == Type::Double || type() == Type::Float; }
    bool isString() const { return type() == Type::String; }
    bool isDateTime() const { return type() == Type::DateTime; }
    bool isBytes() const { return type() == Type::Bytes; }
    bool isList() const { return type() == Type::List; }
    bool isMap() const { return type() == Type::Map; }

    // A string as itself; a number as its decimal text; a boolean as "1" or "0"; anything else
    // as the null string.
    QString toString() const;
    // The UTF-8 bytes of a string; the bytes of a byte string; anything else empty.
    QByteArray toUtf8() const;
    QByteArray toByteArray() const;
    // An integer as itself; a boolean as 0 or 1; a finite number in range without its
    // fraction; a string read like an "int" text (see above, after trimming); anything else is
    // defaultValue.
    qint64 toInt(qint64 defaultValue = 0) const;
    // Any number; a string read like a "double" text (after trimming); anything else is
    // defaultValue.
    double toDouble(double defaultValue = 0.0) const;
    // A boolean; an integer other than 0; anything else false.
    bool toBool() const;
    // A date in UTC; anything else an invalid date.
    QDateTime toDateTime() const;
    XmlRpcList toList() const;
    XmlRpcMap toMap() const;
    std::shared_ptr<QIODevice> toInputStream() const;
    std::shared_ptr<QFile> toFileHandle() const;

    // Number of list elements or map members; 0 for everything else.
    qsizetype size() const;
    // Map member by name; list element by index; the null value when there is none.
    const XmlRpcValue &operator[](const QString &key) const;
    const XmlRpcValue &operator[](const char *key) const;
    const XmlRpcValue &operator[](qsizetype index) const;
    const XmlRpcValue &operator[](int index) const { return (*this)[qsizetype(index)]; }
    bool contains(const QString &key) const;
    QStringList keys() const;

    // Building: append turns a null value into a list, insert and remove turn it into a map;
    // on a value of another type they do nothing.
    void append(const XmlRpcValue &value);
    void insert(const QString &key, const XmlRpcValue &value);
    void remove(const QString &key);

    // Deep comparison; maps compare their members in order; streams by identity; numbers
    // compare equal only with the same type.
    friend bool operator==(const XmlRpcValue &a, const XmlRpcValue &b);
    friend bool operator!=(const XmlRpcValue &a, const XmlRpcValue &b) { return !(a == b); }

    // A compact, JSON-like text for diagnostics; long texts and byte strings are abbreviated.
    QString description() const;

    static const XmlRpcValue &null();

    // The readings of scalar texts described above; the text is already trimmed.
    static qint64 integerFromText(QByteArrayView text);
    static double doubleFromText(QByteArrayView text);
    // An invalid date when the text has neither form.
    static QDateTime dateFromText(QByteArrayView text);
    // The shortest decimal text that reads back as the same number ("0.1", "1e+20", "nan").
    static QByteArray textForNumber(double number);
    static QByteArray textForNumber(float number);

private:
    struct Utf8
    {
        QByteArray text;
    };
    struct Bytes
    {
        QByteArray data;
    };
    struct Stream
    {
        std::shared_ptr<QIODevice> device;
    };
    struct File
    {
        std::shared_ptr<QFile> file;
    };

    XmlRpcList &mutableList();
    XmlRpcMap &mutableMap();

    std::variant<std::monostate, bool, qint64, float, double, Utf8, QDateTime, Bytes,
                 std::shared_ptr<XmlRpcList>, std::shared_ptr<XmlRpcMap>, Stream, File>
        m_data;
};

QDebug operator<<(QDebug debug, const XmlRpcValue &value);

#include "provider/xmlrpc/XmlRpcMap.h"
