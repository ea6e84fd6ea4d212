#include "recipients/FXVCardReader.h"

#include "foundation/FBRegularFile.h"
#include "foundation/FXLogging.h"
#include "recipients/FXPersonImageCache.h"

#include <QByteArrayMatcher>
#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

#include <libebook-contacts/libebook-contacts.h>

#include <mutex>

namespace {

// Values are UTF-8 by the standard, but a quoted-printable 2.1 value without a charset is
// whatever the writing phone used; Latin-1 is the common case and never fails.
QString fromGChar(const char *text)
{
    if (!text)
        return QString();
    if (g_utf8_validate(text, -1, nullptr))
        return QString::fromUtf8(text).trimmed();
    return QString::fromLatin1(text).trimmed();
}

QString shortDigest(const QString &text)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex().left(12));
}

bool lineIs(QByteArrayView line, const char *marker)
{
    const QByteArrayView trimmed = line.trimmed();
    const qsizetype length = qsizetype(qstrlen(marker));
    return trimmed.size() == length && qstrnicmp(trimmed.data(), marker, size_t(length)) == 0;
}

// Files written on Windows or by old address books may be UTF-16.
QByteArray toUtf8Text(const QByteArray &data)
{
    auto decodeUtf16 = [&](QStringDecoder::Encoding encoding, qsizetype skip) {
        QStringDecoder decoder(encoding);
        const QString text = decoder.decode(QByteArrayView(data).sliced(skip));
        return text.toUtf8();
    };
    if (data.startsWith("\xEF\xBB\xBF"))
        return data.mid(3);
    if (data.startsWith("\xFF\xFE"))
        return decodeUtf16(QStringDecoder::Utf16LE, 2);
    if (data.startsWith("\xFE\xFF"))
        return decodeUtf16(QStringDecoder::Utf16BE, 2);
    if (data.size() >= 2 && data.at(0) != 0 && data.at(1) == 0)
        return decodeUtf16(QStringDecoder::Utf16LE, 0);
    if (data.size() >= 2 && data.at(0) == 0 && data.at(1) != 0)
        return decodeUtf16(QStringDecoder::Utf16BE, 0);
    return data;
}

struct SplitCards
{
    QList<QByteArray> cards;
    QStringList problems;
};

// libebook-contacts gives up on a property that ends before the colon after its name and
// parameters, or whose name is no "[group.]name", and loses what it had read of it: a card of
// a million such lines costs gigabytes. Such a property carries nothing it would read, so it is
// left out here. A property is judged whole, with the lines that continue it: folded lines
// start with a blank, quoted-printable ones follow a line ending in '=', and 2.1 writers may
// put base64 data on plain lines up to a blank one. A name and parameters folded over lines
// are joined, as the library would give up on them too.
class CardLines
{
public:
    void add(QByteArrayView text, QByteArray &card)
    {
        const bool continues = !m_pending.isEmpty()
                               && (text.startsWith(' ') || text.startsWith('\t') || m_softBreak
                                   || (m_base64 && !text.isEmpty() && !text.contains(':')));
        if (!continues) {
            flush(card);
            if (text.isEmpty()) {
                m_base64 = m_quotedPrintable = m_softBreak = false;
                card.append('\n');
                return;
            }
            const qsizetype colon = text.indexOf(':');
            const QByteArray head = text.first(colon < 0 ? 0 : colon).toByteArray().toUpper();
            m_base64 = head.contains("BASE64") || head.contains("ENCODING=B;")
                       || head.endsWith("ENCODING=B");
            m_quotedPrintable = head.contains("QUOTED-PRINTABLE");
        }
        m_softBreak = m_quotedPrintable && text.endsWith('=');
        m_pending.append(text).append('\n');
    }

    void flush(QByteArray &card)
    {
        if (m_pending.isEmpty())
            return;
        // The library reads a name and parameters only on one line: they are unfolded here,
        // the value is left as it came.
        const qsizetype colon = m_pending.indexOf(':');
        if (colon >= 0) {
            QByteArray head = m_pending.first(colon);
            head.replace("=\n", "").replace("\n ", "").replace("\n\t", "");
            const qsizetype semicolon = head.indexOf(';');
            if (isName(QByteArrayView(head).first(semicolon < 0 ? head.size() : semicolon))
                && !head.contains('\n'))
                card.append(head).append(QByteArrayView(m_pending).sliced(colon));
        }
        m_pending.clear();
    }

private:
    // "[group.]name", each part letters, digits, dashes and underscores.
    static bool isName(QByteArrayView name)
    {
        const qsizetype dot = name.indexOf('.');
        const auto isWord = [](QByteArrayView word) {
            return !word.isEmpty() && std::all_of(word.begin(), word.end(), [](char c) {
                return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')
                       || c == '-' || c == '_';
            });
        };
        return dot < 0 ? isWord(name) : isWord(name.first(dot)) && isWord(name.sliced(dot + 1));
    }

    QByteArray m_pending;
    bool m_softBreak = false;
    bool m_quotedPrintable = false;
    bool m_base64 = false;
};

SplitCards splitCards(QByteArray data)
{
    // The library ends a line at a lone carriage return too (old Mac files have nothing
    // else); every line end becomes a line feed.
    data.replace("\r\n", "\n").replace('\r', '\n');
    SplitCards split;
    QByteArray current;
    int depth = 0;
    qsizetype pos = 0;
    CardLines lines;
    while (pos < data.size()) {
        qsizetype newline = data.indexOf('\n', pos);
        if (newline < 0)
            newline = data.size();
        const QByteArrayView line(data.constData() + pos, newline - pos);
        pos = newline + 1;
        const bool begin = lineIs(line, "BEGIN:VCARD");
        if (depth == 0) {
            // Text between cards is ignored, as every address book does.
            if (begin) {
                depth = 1;
                current = line.toByteArray();
                current.append('\n');
                lines = CardLines();
            }
            continue;
        }
        // A 2.1 card may embed another one (AGENT); its lines would otherwise be read as
        // the owner's, so they are left out, and only the outer END closes the card.
        const bool end = !begin && lineIs(line, "END:VCARD");
        if (depth == 1 && !begin)
            lines.add(line, current);
        if (begin) {
            ++depth;
        } else if (end && --depth == 0) {
            lines.flush(current);
            split.cards.append(std::exchange(current, QByteArray()));
        }
    }
    if (depth > 0)
        split.problems.append(
            QStringLiteral("card %1 ends without END:VCARD").arg(split.cards.size() + 1));
    return split;
}

// libebook-contacts converts a CHARSET-tagged value itself, but only after replacing the
// bytes that are not UTF-8; and it converts values already in UTF-8 a second time. So the
// card is brought to UTF-8 here and the tags are removed from the values that are not
// quoted-printable (whose ASCII form survives and still needs its charset).
QByteArray normalizeCharset(const QByteArray &card)
{
    static const QRegularExpression charsetParam(QStringLiteral(";CHARSET=(\"[^\"]*\"|[^;:]*)"),
                                                 QRegularExpression::CaseInsensitiveOption);
    static const QByteArrayMatcher charsetTag(QByteArrayLiteral(";charset="));
    const QByteArray lowered = card.toLower();
    if (charsetTag.indexIn(lowered) < 0) {
        bool ascii = true;
        for (const char c : card)
            ascii = ascii && static_cast<unsigned char>(c) < 0x80;
        if (ascii || g_utf8_validate(card.constData(), card.size(), nullptr))
            return card;
    }

    QList<QByteArray> lines = card.split('\n');
    QByteArray declared;
    bool softBreak = false;
    for (QByteArray &line : lines) {
        const bool continuation = softBreak || line.startsWith(' ') || line.startsWith('\t');
        if (!continuation) {
            const qsizetype colon = line.indexOf(':');
            const QString header = QString::fromLatin1(line.left(colon < 0 ? 0 : colon));
            const bool quotedPrintable =
                header.contains(QLatin1String("QUOTED-PRINTABLE"), Qt::CaseInsensitive);
            softBreak = quotedPrintable && line.trimmed().endsWith('=');
            if (!quotedPrintable) {
                const QRegularExpressionMatch match = charsetParam.match(header);
                if (match.hasMatch()) {
                    if (declared.isEmpty())
                        declared = match.captured(1).remove(u'"').toLatin1();
                    QString cleaned = header;
                    cleaned.remove(match.capturedStart(), match.capturedLength());
                    line = cleaned.toLatin1() + line.mid(colon);
                }
            }
        } else {
            softBreak = softBreak && line.trimmed().endsWith('=');
        }
    }
    QByteArray joined = lines.join('\n');
    if (g_utf8_validate(joined.constData(), joined.size(), nullptr))
        return joined;
    const QByteArray charset = declared.isEmpty() ? QByteArrayLiteral("WINDOWS-1252") : declared;
    gsize written = 0;
    gchar *converted = g_convert(joined.constData(), joined.size(), "UTF-8", charset.constData(),
                                 nullptr, &written, nullptr);
    if (converted) {
        QByteArray result(converted, qsizetype(written));
        g_free(converted);
        return result;
    }
    return QString::fromLatin1(joined).toUtf8();
}

QString attributeValue(EVCardAttribute *attribute)
{
    GList *values = e_vcard_attribute_get_values(attribute);
    return values ? fromGChar(static_cast<const char *>(values->data)) : QString();
}

QStringList attributeValues(EVCardAttribute *attribute)
{
    QStringList out;
    for (GList *v = e_vcard_attribute_get_values(attribute); v; v = v->next) {
        const QString value = fromGChar(static_cast<const char *>(v->data));
        if (!value.isEmpty())
            out.append(value);
    }
    return out;
}

QStringList typesOf(EVCardAttribute *attribute)
{
    QStringList types;
    for (GList *v = e_vcard_attribute_get_param(attribute, EVC_TYPE); v; v = v->next) {
        const QString value = fromGChar(static_cast<const char *>(v->data)).toLower();
        for (const QString &part : value.split(u',', Qt::SkipEmptyParts))
            types.append(part.trimmed());
    }
    return types;
}

QString firstValueNamed(EVCard *card, const char *name)
{
    EVCardAttribute *attribute = e_vcard_get_attribute(card, name);
    return attribute ? attributeValue(attribute) : QString();
}

QString nameValues(EVCard *card)
{
    EVCardAttribute *attribute = e_vcard_get_attribute(card, EVC_N);
    return attribute ? attributeValues(attribute).join(u';') : QString();
}

QString strippedUID(QString uid)
{
    uid = uid.trimmed();
    if (uid.startsWith(QLatin1String("urn:uuid:"), Qt::CaseInsensitive))
        uid = uid.mid(9);
    return uid;
}

// A TEL value; vCard 4.0 writes it as a tel: URI, possibly with parameters.
QString phoneValue(const QString &raw)
{
    QString value = raw.trimmed();
    if (value.startsWith(QLatin1String("tel:"), Qt::CaseInsensitive)) {
        value = value.mid(4);
        const qsizetype parameters = value.indexOf(u';');
        if (parameters >= 0)
            value.truncate(parameters);
        value = QUrl::fromPercentEncoding(value.toUtf8());
    }
    return value.trimmed();
}

QByteArray pictureFromContact(EContact *contact)
{
    auto *photo = static_cast<EContactPhoto *>(e_contact_get(contact, E_CONTACT_PHOTO));
    if (!photo)
        return QByteArray();
    QByteArray data;
    if (photo->type == E_CONTACT_PHOTO_TYPE_INLINED) {
        if (photo->data.inlined.data
            && photo->data.inlined.length <= gsize(FXPersonImageCache::maxPictureBytes))
            data = QByteArray(reinterpret_cast<const char *>(photo->data.inlined.data),
                              qsizetype(photo->data.inlined.length));
    } else if (photo->data.uri) {
        const QString uri = fromGChar(photo->data.uri);
        if (uri.startsWith(QLatin1String("data:"), Qt::CaseInsensitive)) {
            const qsizetype comma = uri.indexOf(u',');
            if (comma > 0
                && uri.left(comma).endsWith(QLatin1String(";base64"), Qt::CaseInsensitive))
                data = QByteArray::fromBase64(uri.mid(comma + 1).toLatin1());
        } else {
            // Only local files: a contact must never make the program go on the network.
            const QUrl url(uri);
            if (url.isLocalFile()) {
                QFile file;
                if (FBRegularFile::openForReading(url.toLocalFile(), &file)
                    && file.size() <= FXPersonImageCache::maxPictureBytes)
                    data = file.read(FXPersonImageCache::maxPictureBytes);
            }
        }
    }
    e_contact_photo_free(photo);
    return data;
}

bool isGroupCard(EVCard *card)
{
    const QString kind = firstValueNamed(card, "KIND").toLower();
    const QString appleKind = firstValueNamed(card, "X-ADDRESSBOOKSERVER-KIND").toLower();
    return kind == QLatin1String("group") || appleKind == QLatin1String("group");
}

FXVCardReader::Group groupFromCard(EContact *contact)
{
    FXVCardReader::Group group;
    group.name =
        fromGChar(static_cast<const char *>(e_contact_get_const(contact, E_CONTACT_FULL_NAME)));
    for (GList *a = e_vcard_get_attributes(E_VCARD(contact)); a; a = a->next) {
        auto *attribute = static_cast<EVCardAttribute *>(a->data);
        const char *name = e_vcard_attribute_get_name(attribute);
        if (g_ascii_strcasecmp(name, "MEMBER") == 0
            || g_ascii_strcasecmp(name, "X-ADDRESSBOOKSERVER-MEMBER") == 0) {
            const QString member = strippedUID(attributeValue(attribute));
            if (!member.isEmpty())
                group.memberUIDs.append(member);
        }
    }
    return group;
}

void debugHandler(const gchar *domain, GLogLevelFlags, const gchar *message, gpointer)
{
    qCDebug(lcRecipients, "%s: %s", domain, message);
}

} // namespace

void FXVCardReader::routeLibraryWarnings()
{
    static std::once_flag once;
    std::call_once(once, [] {
        g_log_set_handler("libebook-contacts",
                          GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE
                                         | G_LOG_LEVEL_INFO | G_LOG_LEVEL_DEBUG),
                          debugHandler, nullptr);
    });
}

QString FXVCardReader::recordIDForUID(const QString &uid)
{
    return QStringLiteral("vcard:") + strippedUID(uid);
}

QString FXVCardReader::labelForTypes(const QStringList &types)
{
    auto has = [&](const char *type) { return types.contains(QLatin1String(type)); };
    if (has("fax"))
        return QLatin1String(has("home")   ? kABPhoneHomeFAXLabel
                             : has("work") ? kABPhoneWorkFAXLabel
                                           : kABPhoneOtherFAXLabel);
    if (has("pager"))
        return QLatin1String(kABPhonePagerLabel);
    if (has("iphone"))
        return QLatin1String(kABPhoneiPhoneLabel);
    if (has("cell") || has("mobile"))
        return QLatin1String(kABPhoneMobileLabel);
    if (has("car"))
        return QLatin1String(kABPhoneCarLabel);
    if (has("main") || has("x-evolution-company"))
        return QLatin1String(kABPhoneMainLabel);
    if (has("home"))
        return QLatin1String(kABPhoneHomeLabel);
    if (has("work"))
        return QLatin1String(kABPhoneWorkLabel);
    if (has("other") || has("x-evolution-other"))
        return QLatin1String(kABOtherLabel);
    return QLatin1String(kABPhoneLabel);
}

FXAddressBookPerson FXVCardReader::personFromContact(EContact *contact, const QString &recordID)
{
    routeLibraryWarnings();
    EVCard *card = E_VCARD(contact);
    FXAddressBookPerson person;
    person.uniqueId = recordID;

    if (auto *name = static_cast<EContactName *>(e_contact_get(contact, E_CONTACT_NAME))) {
        person.firstName = fromGChar(name->given);
        person.middleName = fromGChar(name->additional);
        person.lastName = fromGChar(name->family);
        e_contact_name_free(name);
    }
    person.organization =
        fromGChar(static_cast<const char *>(e_contact_get_const(contact, E_CONTACT_ORG)));
    person.nickname =
        fromGChar(static_cast<const char *>(e_contact_get_const(contact, E_CONTACT_NICKNAME)));
    person.showAsCompany =
        firstValueNamed(card, "KIND").compare(QLatin1String("org"), Qt::CaseInsensitive) == 0
        || firstValueNamed(card, "KIND").compare(QLatin1String("organization"), Qt::CaseInsensitive)
               == 0
        || firstValueNamed(card, "X-ABShowAs")
                   .compare(QLatin1String("COMPANY"), Qt::CaseInsensitive)
               == 0;

    // vCard 4.0 makes N optional: fall back to the formatted name.
    const QString fullName =
        fromGChar(static_cast<const char *>(e_contact_get_const(contact, E_CONTACT_FULL_NAME)));
    if (person.firstName.isEmpty() && person.middleName.isEmpty() && person.lastName.isEmpty()
        && !fullName.isEmpty() && fullName != person.organization) {
        if (person.showAsCompany && person.organization.isEmpty()) {
            person.organization = fullName;
        } else if (!person.showAsCompany) {
            const QByteArray utf8 = fullName.toUtf8();
            if (ENameWestern *western = e_name_western_parse(utf8.constData())) {
                person.firstName = fromGChar(western->first);
                person.middleName = fromGChar(western->middle);
                person.lastName = fromGChar(western->last);
                e_name_western_free(western);
            }
            if (person.firstName.isEmpty() && person.lastName.isEmpty())
                person.firstName = fullName;
        }
    }

    if (auto *categories = static_cast<GList *>(e_contact_get(contact, E_CONTACT_CATEGORY_LIST))) {
        for (GList *c = categories; c; c = c->next) {
            const QString group = fromGChar(static_cast<const char *>(c->data));
            if (!group.isEmpty() && !person.groups.contains(group))
                person.groups.append(group);
        }
        g_list_free_full(categories, g_free);
    }
    person.pictureData = pictureFromContact(contact);

    // Apple's writers give a TEL its label in a sibling X-ABLabel of the same group.
    QHash<QString, QString> groupLabels;
    for (GList *a = e_vcard_get_attributes(card); a; a = a->next) {
        auto *attribute = static_cast<EVCardAttribute *>(a->data);
        const char *group = e_vcard_attribute_get_group(attribute);
        if (group && g_ascii_strcasecmp(e_vcard_attribute_get_name(attribute), "X-ABLabel") == 0)
            groupLabels.insert(QString::fromLatin1(group).toLower(), attributeValue(attribute));
    }
    QHash<QString, int> seen;
    for (GList *a = e_vcard_get_attributes(card); a; a = a->next) {
        auto *attribute = static_cast<EVCardAttribute *>(a->data);
        if (g_ascii_strcasecmp(e_vcard_attribute_get_name(attribute), EVC_TEL) != 0)
            continue;
        const QString value = phoneValue(attributeValue(attribute));
        if (value.isEmpty() || value.size() > maxPhoneValueLength)
            continue;
        FXAddressBookPerson::Phone phone;
        phone.value = value;
        const char *group = e_vcard_attribute_get_group(attribute);
        const QString groupLabel =
            group ? groupLabels.value(QString::fromLatin1(group).toLower()) : QString();
        phone.label = groupLabel.isEmpty() ? labelForTypes(typesOf(attribute)) : groupLabel;
        // The same number twice in one person still needs two distinct identifiers.
        const QString digest = shortDigest(value);
        const int occurrence = ++seen[digest];
        phone.identifier = recordID + u'/' + digest
                           + (occurrence > 1 ? u'-' + QString::number(occurrence) : QString());
        person.phones.append(phone);
    }
    return person;
}

bool FXVCardReader::readData(const QByteArray &data, const QString &fallbackScope,
                             Contents *contents, QString *error)
{
    routeLibraryWarnings();
    const QByteArray text = toUtf8Text(data);
    if (text.contains('\0')) {
        *error = QStringLiteral("binary data, not a vCard");
        return false;
    }
    SplitCards split = splitCards(text);
    contents->problems += split.problems;
    if (split.cards.isEmpty()) {
        *error = split.problems.isEmpty() ? QStringLiteral("no vCard found")
                                          : split.problems.join(QLatin1String("; "));
        return false;
    }

    QHash<QString, int> fallbackIds;
    int number = 0;
    for (const QByteArray &raw : std::as_const(split.cards)) {
        ++number;
        const QByteArray card = normalizeCharset(raw);
        EContact *contact = e_contact_new_from_vcard(card.constData());
        if (!contact) {
            contents->problems.append(QStringLiteral("card %1 could not be parsed").arg(number));
            continue;
        }
        EVCard *vcard = E_VCARD(contact);
        if (isGroupCard(vcard)) {
            contents->groups.append(groupFromCard(contact));
        } else if (!e_contact_get(contact, E_CONTACT_IS_LIST)) {
            const QString uid = strippedUID(
                fromGChar(static_cast<const char *>(e_contact_get_const(contact, E_CONTACT_UID))));
            QString recordID;
            if (!uid.isEmpty()) {
                recordID = recordIDForUID(uid);
            } else {
                // Without a UID, the names identify the card within its file.
                const QString names = fromGChar(static_cast<const char *>(
                                          e_contact_get_const(contact, E_CONTACT_FULL_NAME)))
                                      + u'|' + nameValues(vcard) + u'|'
                                      + fromGChar(static_cast<const char *>(
                                          e_contact_get_const(contact, E_CONTACT_ORG)));
                const QString base = fallbackScope + u'#' + shortDigest(names);
                const int occurrence = ++fallbackIds[base];
                recordID = base + (occurrence > 1 ? u'-' + QString::number(occurrence) : QString());
            }
            contents->persons.append(personFromContact(contact, recordID));
        }
        g_object_unref(contact);
    }
    return true;
}

bool FXVCardReader::readFile(const QString &path, Contents *contents, QString *error)
{
    QFile file;
    if (!FBRegularFile::openForReading(path, &file, error))
        return false;
    if (file.size() > maxFileBytes) {
        *error = QStringLiteral("larger than %1 bytes").arg(maxFileBytes);
        return false;
    }
    // Read in pieces: the size on disk may lie (a file still growing, a special file).
    QByteArray data;
    data.reserve(qBound<qint64>(0, file.size(), maxFileBytes));
    while (data.size() <= maxFileBytes) {
        const QByteArray piece = file.read(64 * 1024);
        if (piece.isEmpty())
            break;
        data += piece;
    }
    if (data.size() > maxFileBytes) {
        *error = QStringLiteral("larger than %1 bytes").arg(maxFileBytes);
        return false;
    }
    return readData(data, path, contents, error);
}
