#ifndef QUORVEL_PLATFORM_DESKTOP_XML_INPUT_H_
#define QUORVEL_PLATFORM_DESKTOP_XML_INPUT_H_

#include <libxml/tree.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

// What libxml2 may read and expand, so that no result file can hang or exhaust the program. The
// application parses its result files with libxml2 directly; the limits apply to these calls.
namespace quorvel::desktop {

// The largest result file, in bytes. A larger file is not opened. A file that grows while it is
// read is read up to this limit.
constexpr std::int64_t kMaxResultFileBytes = std::int64_t{256} << 20;

// How much the entities of one result file may expand to, in bytes. A value that needs more counts
// as a value without content.
constexpr std::int64_t kMaxEntityBytes = 10'000'000;

// How many attributes an element may have, including the namespaces in its scope. A file with more
// is not read.
constexpr int kMaxAttributes = 1'000;

// How large the declarations in the document type may be, in bytes. A parameter entity counts at
// its declaration and at each use. Comments and entities without markup do not count. A file with
// more is not read.
constexpr std::int64_t kMaxDeclarationBytes = std::int64_t{32} << 10;

// Receives one line for each file that libxml2 may not read to its end, and for each value that is
// too long. The line names the file and the reason.
using XmlInputReport = std::function<void(const std::string& line)>;

// Returns whether to stop reading a file. Called for each part of the file.
using XmlInputStop = std::function<bool()>;

// Whether a result file may be a symbolic link.
enum class ResultFileLinks { kFollow, kReject };

// Makes libxml2 open regular files only, without blocking and without unpacking. Afterwards libxml2
// loads no catalog, stores no attributes and prints nothing to the terminal. Call once for each
// thread that parses, before its first parse.
void LimitXmlInput(
    XmlInputReport report, ResultFileLinks links = ResultFileLinks::kFollow,
    XmlInputStop mustStop = [] { return false; });

struct XmlDocumentDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, XmlDocumentDeleter>;

// Reads up to size bytes. Returns the number of bytes, 0 at the end, -1 on an error. Must not
// throw.
using XmlRead = std::function<ssize_t(char* buffer, std::size_t size)>;

// Parses the content that read returns. Opens no file and reports nothing. Returns null when the
// content is not well-formed, cannot be read or exceeds a limit of a file. Any thread.
XmlDocument ParseXml(const XmlRead& read);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_XML_INPUT_H_
