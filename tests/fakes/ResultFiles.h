#ifndef QUORVEL_TESTS_RESULT_FILES_H_
#define QUORVEL_TESTS_RESULT_FILES_H_

#include <string>
#include <utility>
#include <vector>

// Builds the text of result files.
namespace xml {

// Tag and text, in file order.
using Fields = std::vector<std::pair<std::string, std::string>>;

// text with XML's special characters written as entities.
std::string Escape(const std::string& text);
// An element around content, which is taken as it is.
std::string Element(const std::string& tag, const std::string& content);
// One element for every field, its text escaped, inside an element tag.
std::string Section(const std::string& tag, const Fields& fields);
// A test element.
std::string Item(const Fields& fields);
// A whole file: content, taken as it is, in a root element.
std::string Document(const std::string& content, const std::string& root = "QELResult");
// A whole file with every section and, in the last of its item lists, the items. Nothing in it
// makes the parser log an error.
std::string DocumentOf(const std::vector<Fields>& items);

}  // namespace xml

#endif  // QUORVEL_TESTS_RESULT_FILES_H_
