#pragma once

#include "provider/xmlrpc/XmlRpcValue.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <memory>

// One node of a document being decoded: a "value", "member" or "name" element (or, for a
// method call, the "params" after the method name). The decoder hands each parser event to
// the innermost open node; a node opens a child for a nested "value", "member" or "name",
// takes its type from the other elements it sees, collects text, and when its own element
// ends turns the text into its value and gives that to its parent.
//
// Nesting is tracked with an explicit chain of nodes, never with recursion, so the depth of a
// document costs heap, not stack; the decoder refuses documents nested deeper than it allows.
class WPXMLRPCDecoderDelegate
{
public:
    enum ElementType {
        Array = 0,      // "array", "params"
        Dictionary = 1, // "struct"
        Member = 2,     // "member"
        Name = 3,       // "name"
        Integer = 4,    // "int", "i4"
        Double = 5,     // "double"
        Boolean = 6,    // "boolean"
        String = 7,     // "string", and a value without a type element
        Date = 8,       // "dateTime.iso8601"
        Data = 9,       // "base64"
    };

    // The element whose end closes the node.
    enum class Opener { Value, Member, Name, Params };

    WPXMLRPCDecoderDelegate(WPXMLRPCDecoderDelegate *parent, Opener opener, int depth);
    ~WPXMLRPCDecoderDelegate();
    WPXMLRPCDecoderDelegate(const WPXMLRPCDecoderDelegate &) = delete;
    WPXMLRPCDecoderDelegate &operator=(const WPXMLRPCDecoderDelegate &) = delete;

    // The node that receives the following events: a new child, or this node.
    WPXMLRPCDecoderDelegate *didStartElement(const char *element);
    // True when this node's own element ended; its value has then gone to its parent and the
    // parent receives the following events.
    bool didEndElement(const char *element);
    // `remaining` is how many bytes of the document are still to come: a text that grows
    // large reserves room for as much at once, rather than doubling (and copying) its way up.
    void foundCharacters(const char *text, qsizetype length, qsizetype remaining);

    WPXMLRPCDecoderDelegate *parent() const { return m_parent; }
    ElementType elementType() const { return m_elementType; }
    // A member's name (and a name node's own text).
    QString elementKey() const { return m_elementKey; }
    // Before the node ends: the container being filled, or the null value for a scalar. Once
    // the outermost node has ended: the value of the document (the null value for an
    // undecodable date); an inner node hands its value to its parent and keeps none.
    const XmlRpcValue &elementValue() const { return m_elementValue; }
    // 1 for the outermost "value", one more for each "value" inside it.
    int depth() const { return m_depth; }

    // White space and line breaks (every Unicode space) trimmed at both ends of UTF-8 text.
    static QByteArrayView trimmed(QByteArrayView utf8);

private:
    void reset(Opener opener, int depth);
    void finish();
    void releaseReservedRoom();
    void addChildValue(WPXMLRPCDecoderDelegate &child);

    WPXMLRPCDecoderDelegate *m_parent;
    // The child: open, or ended and kept to serve the next sibling (a struct of many members
    // costs one node per level, not one per element).
    std::unique_ptr<WPXMLRPCDecoderDelegate> m_child;
    ElementType m_elementType = String;
    Opener m_opener = Opener::Value;
    int m_depth = 0;
    QString m_elementKey;
    bool m_hasKey = false;
    bool m_hasValue = false;
    QByteArray m_text;
    XmlRpcValue m_elementValue;
};
