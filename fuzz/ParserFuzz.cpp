// Passes random bytes to the parser as a result file and runs every query of the result store.

#include <libxml/xmlerror.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "FuzzTarget.h"
#include "QELXmlParser.h"

namespace {

// A file in memory. The path of the file is its entry in /proc/self/fd.
class MemoryFile {
public:
    MemoryFile() : m_Descriptor(memfd_create("result", MFD_CLOEXEC)) {
        Require(m_Descriptor >= 0, "a file in memory can be created");
    }

    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_Descriptor); }

    void Replace(const std::uint8_t* data, std::size_t size) const {
        Require(ftruncate(m_Descriptor, 0) == 0, "the file can be emptied");
        Require(pwrite(m_Descriptor, data, size, 0) == static_cast<ssize_t>(size),
                "the file can be written");
    }

private:
    int m_Descriptor;
};

// NOLINTNEXTLINE(cert-dcl50-cpp): libxml2 defines the signature
void IgnoreError(void* /*context*/, const char* /*message*/, ...) {}

std::ptrdiff_t LinesOf(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

void QueryItem(const QELXmlParser& store, unsigned int id) {
    store.GetResult(id);
    const int type = store.GetResultType(id);
    Require(type >= RESULT_TYPE_INVALID && type <= RESULT_TYPE_IMAGE, "the type is defined");
    for (const char* key : {"name", "detailed", "reason", "opcode", "", "no such key"}) {
        store.GetResult(id, key);
    }
    const std::string detailed = store.GetResult(id, "detailed");
    Require(detailed.find_first_of(";^") == std::string::npos,
            "a detailed value contains neither ; nor ^");
}

void Query(const QELXmlParser& store) {
    Require(LinesOf(store.GetInformation()) >= 11, "the information text has all lines");
    Require(LinesOf(store.GetNetworkInfo()) >= 6, "the network text has all lines");
    Require(LinesOf(store.GetSummary()) >= 3, "the summary text has all lines");
    Require(store.GetNumOfResult() <= store.GetNumOfResultAll(),
            "there are at least as many items as failed items");
    // The last id of each loop does not exist.
    for (unsigned int id = 0; id <= store.GetNumOfResult(); ++id) {
        QueryItem(store, id);
    }
    for (unsigned int id = 0; id <= store.GetNumOfResultAll(); ++id) {
        store.GetResultFromAll(id, "name");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile file;
    xmlSetGenericErrorFunc(nullptr, IgnoreError);
    file.Replace(data, size);
    QELXmlParser store;
    const bool parsed = store.m_ParseFile(file.Path().c_str());
    Require(parsed || store.GetNumOfResultAll() == 0, "no item of a rejected file is stored");
    Query(store);
    return 0;
}
