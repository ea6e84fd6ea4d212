#pragma once

#include "document/FXFaxPageGenerator.h"

#include <QByteArray>

#include <map>
#include <vector>

// What the render helper sends back per page: a fixed header (magic, page, outcome, encoding,
// width, height, stream length), then the coded image.
class FXPageMessages
{
public:
    // A page as the helper writes it.
    static QByteArray encode(int page, const FXFaxPageGenerator::PreparedPage &prepared);

    // Moves the whole messages at the front of buffer into pages, leaving a partial one.
    // Only pages below `claimed` have been handed out, and `sent` (indexed by page, at least
    // `claimed` long) tells which already came; a page that was not handed out, came before, or
    // does not fit the canvas makes the whole answer false. `received` counts the pages taken,
    // `delivered` those of them that were written.
    static bool decode(QByteArray &buffer, int claimed, std::vector<bool> &sent,
                       std::map<int, FXFaxPageGenerator::PreparedPage> &pages, int &received,
                       int &delivered);
};
