#ifndef QUORVEL_TOOLS_REPORT_JSON_TEXT_H_
#define QUORVEL_TOOLS_REPORT_JSON_TEXT_H_

#include <nlohmann/json.hpp>
#include <string>

namespace quorvel::report {

// Keeps the order of the keys.
using OrderedJson = nlohmann::ordered_json;

// Returns the value on one line. Replaces bytes that are not UTF-8.
inline std::string Dump(const OrderedJson& json) {
    return json.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_JSON_TEXT_H_
