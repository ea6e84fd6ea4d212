#pragma once

#include "provider/xmlrpc/XmlRpcValue.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

// The members of an XML-RPC struct in the order they were first inserted. Replacing a
// member keeps its place; removing one is amortised constant time (the slot is marked and
// compacted later), so a hostile document cannot make decoding quadratic.
class XmlRpcMap
{
public:
    struct Member
    {
        QString key;
        XmlRpcValue value;
    };

    XmlRpcMap() = default;
    XmlRpcMap(std::initializer_list<std::pair<QString, XmlRpcValue>> members);

    qsizetype size() const { return m_index.size(); }
    bool isEmpty() const { return m_index.isEmpty(); }
    bool contains(const QString &key) const { return m_index.contains(IndexKey{key}); }
    // The member's value, or the null value when there is no such member.
    const XmlRpcValue &operator[](const QString &key) const;
    XmlRpcValue value(const QString &key, const XmlRpcValue &defaultValue = {}) const;
    QStringList keys() const;

    void insert(const QString &key, const XmlRpcValue &value);
    void remove(const QString &key);
    void clear();

private:
    struct Slot
    {
        Member member;
        bool removed = false;
    };

public:
    // Iteration yields the members (const Member &) in order.
    class const_iterator
    {
    public:
        using value_type = Member;
        using difference_type = std::ptrdiff_t;
        using reference = const Member &;
        using pointer = const Member *;
        using iterator_category = std::forward_iterator_tag;

        const_iterator() = default;
        reference operator*() const { return m_slot->member; }
        pointer operator->() const { return &m_slot->member; }
        const_iterator &operator++()
        {
            ++m_slot;
            skipRemoved();
            return *this;
        }
        const_iterator operator++(int)
        {
            const_iterator previous = *this;
            ++*this;
            return previous;
        }
        friend bool operator==(const const_iterator &a, const const_iterator &b)
        {
            return a.m_slot == b.m_slot;
        }

    private:
        friend class XmlRpcMap;
        const_iterator(const Slot *slot, const Slot *end)
            : m_slot(slot)
            , m_end(end)
        {
            skipRemoved();
        }
        void skipRemoved()
        {
            while (m_slot != m_end && m_slot->removed)
                ++m_slot;
        }
        const Slot *m_slot = nullptr;
        const Slot *m_end = nullptr;
    };

    const_iterator begin() const;
    const_iterator end() const;

    // Same members with equal values in the same order.
    friend bool operator==(const XmlRpcMap &a, const XmlRpcMap &b);
    friend bool operator!=(const XmlRpcMap &a, const XmlRpcMap &b) { return !(a == b); }

private:
    // Member names in the index carry their own hash: Qt's seeded string hash is slow enough
    // to dominate the decoding of a struct with many members. This one is keyed with QHash's
    // per-process random seed all the same, so colliding names cannot be prepared in advance.
    struct IndexKey
    {
        QString name;

        friend bool operator==(const IndexKey &a, const IndexKey &b) { return a.name == b.name; }
        friend size_t qHash(const IndexKey &key, size_t seed) noexcept
        {
            const auto mix = [](quint64 x) {
                const unsigned __int128 product = (unsigned __int128)x * 0x9FB21C651E98DF25ULL;
                return quint64(product) ^ quint64(product >> 64);
            };
            const auto *bytes = reinterpret_cast<const unsigned char *>(key.name.constData());
            size_t remaining = size_t(key.name.size()) * sizeof(QChar);
            quint64 hash = mix(quint64(seed) ^ (quint64(remaining) * 0x9E3779B97F4A7C15ULL));
            for (; remaining >= 8; remaining -= 8, bytes += 8) {
                quint64 word;
                std::memcpy(&word, bytes, 8);
                hash = mix(hash ^ word);
            }
            quint64 word = 0;
            if (remaining > 0)
                std::memcpy(&word, bytes, remaining);
            return size_t(mix(hash ^ word ^ 0x2545F4914F6CDD1DULL));
        }
    };

    void compact();

    std::vector<Slot> m_slots;
    QHash<IndexKey, qsizetype> m_index; // name -> position in m_slots
};
