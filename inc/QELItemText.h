#pragma once

#include <string>

class QELXmlParser;

// The texts that the screen shows for a failed item, without markup. All operations are static,
// keep no state and only read the result store. Any thread.
class QELItemText {
public:
    QELItemText() = delete;

    // Returns the text of the row of the failed item id; empty for an unknown type.
    static std::string ComposeRow(const QELXmlParser& parser, unsigned int id);
    // Returns the first part of the detail text of the failed item id, which does not depend on an
    // analysis. The text of an "image" item is empty: a photo takes its place.
    static std::string ComposeResult(const QELXmlParser& parser, unsigned int id);
};
