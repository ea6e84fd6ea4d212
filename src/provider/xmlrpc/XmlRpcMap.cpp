#include "provider/xmlrpc/XmlRpcMap.h"

XmlRpcMap::XmlRpcMap(std::initializer_list<std::pair<QString, XmlRpcValue>> members)
{
    for (const auto &[key, value] : members)
        insert(key, value);
}

const XmlRpcValue &XmlRpcMap::operator[](const QString &key) const
{
    const auto found = m_index.constFind(IndexKey{key});
    return found == m_index.cend() ? XmlRpcValue::null() : m_slots[*found].member.value;
}

XmlRpcValue XmlRpcMap::value(const QString &key, const XmlRpcValue &defaultValue) const
{
    const auto found = m_index.constFind(IndexKey{key});
    return found == m_index.cend() ? defaultValue : m_slots[*found].member.value;
}

QStringList XmlRpcMap::keys() const
{
    QStringList result;
    result.reserve(size());
    for (const Member &member : *this)
        result.append(member.key);
    return result;
}

void XmlRpcMap::insert(const QString &key, const XmlRpcValue &value)
{
    const auto found = m_index.constFind(IndexKey{key});
    if (found != m_index.cend()) {
        m_slots[*found].member.value = value;
        return;
    }
    m_index.insert(IndexKey{key}, qsizetype(m_slots.size()));
    m_slots.push_back(Slot{Member{key, value}, false});
}

void XmlRpcMap::remove(const QString &key)
{
    const auto found = m_index.constFind(IndexKey{key});
    if (found == m_index.cend())
        return;
    Slot &slot = m_slots[*found];
    slot.removed = true;
    slot.member = Member();
    m_index.erase(found);
    if (m_slots.size() > 16 && qsizetype(m_slots.size()) > 2 * m_index.size())
        compact();
}

void XmlRpcMap::clear()
{
    m_slots.clear();
    m_index.clear();
}

void XmlRpcMap::compact()
{
    std::vector<Slot> live;
    live.reserve(m_index.size());
    for (Slot &slot : m_slots) {
        if (slot.removed)
            continue;
        m_index[IndexKey{slot.member.key}] = qsizetype(live.size());
        live.push_back(std::move(slot));
    }
    m_slots = std::move(live);
}

XmlRpcMap::const_iterator XmlRpcMap::begin() const
{
    const Slot *first = m_slots.data();
    return const_iterator(first, first + m_slots.size());
}

XmlRpcMap::const_iterator XmlRpcMap::end() const
{
    const Slot *last = m_slots.data() + m_slots.size();
    return const_iterator(last, last);
}

bool operator==(const XmlRpcMap &a, const XmlRpcMap &b)
{
    if (a.size() != b.size())
        return false;
    auto other = b.begin();
    for (const XmlRpcMap::Member &member : a) {
        if (member.key != other->key || member.value != other->value)
            return false;
        ++other;
    }
    return true;
}
