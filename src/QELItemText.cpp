#include "QELItemText.h"

#include "QELXmlParser.h"
#include "quorvel.h"

namespace {

std::string ConnectionText(const QELXmlParser& parser, unsigned int id) {
    const std::string type = parser.GetResult(id, "type");
    return type + " " + parser.GetResult(id, "connection");
}

std::string CodesText(const QELXmlParser& parser, unsigned int id) {
    std::string text = parser.GetResult(id, "name");
    text += "(" + parser.GetResult(id, "opcode");
    text += "," + parser.GetResult(id, "msgcode") + ")";
    return text;
}

}  // namespace

std::string QELItemText::ComposeRow(const QELXmlParser& parser, unsigned int id) {
    switch (parser.GetResultType(id)) {
        case RESULT_TYPE_BT:
        case RESULT_TYPE_WIFI:
            return ConnectionText(parser, id);
        case RESULT_TYPE_APP:
            return CodesText(parser, id);
        case RESULT_TYPE_RNSC:
        case RESULT_TYPE_IMAGE:
            return parser.GetResult(id, "name");
        default:
            return "";
    }
}

std::string QELItemText::ComposeResult(const QELXmlParser& parser, unsigned int id) {
    switch (parser.GetResultType(id)) {
        case RESULT_TYPE_RNSC:
            return parser.GetResult(id, "detailed");
        case RESULT_TYPE_IMAGE:
            // The "detailed" value is the path of the photo, which QELItemView shows.
            return "";
        default:
            return parser.GetResult(id);
    }
}
