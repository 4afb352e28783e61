// Any bytes as a result file: the store reads them without harm and answers every query.

#include <libxml/xmlerror.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "FuzzTarget.h"
#include "QELXmlParser.h"

namespace {

// A file without a place on a disk, read under the path that the kernel gives every open file.
class MemoryFile {
public:
    MemoryFile() : m_Descriptor(memfd_create("result", MFD_CLOEXEC)) {
        Require(m_Descriptor >= 0, "a file in memory can be made");
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

// NOLINTNEXTLINE(cert-dcl50-cpp): the signature is the library's
void IgnoreError(void* /*context*/, const char* /*message*/, ...) {}

std::ptrdiff_t LinesOf(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

void QueryItem(const QELXmlParser& store, unsigned int id) {
    store.GetResult(id);
    const int type = store.GetResultType(id);
    Require(type >= RESULT_TYPE_INVALID && type <= RESULT_TYPE_IMAGE, "the type is a known one");
    for (const char* key : {"name", "detailed", "reason", "opcode", "", "no such key"}) {
        store.GetResult(id, key);
    }
    const std::string detailed = store.GetResult(id, "detailed");
    Require(detailed.find_first_of(";^") == std::string::npos,
            "no mark is left in a detailed text");
}

void Query(const QELXmlParser& store) {
    Require(LinesOf(store.GetInformation()) >= 11, "the information has all its lines");
    Require(LinesOf(store.GetNetworkInfo()) >= 6, "the network has all its lines");
    Require(LinesOf(store.GetSummary()) >= 3, "the summary has all its lines");
    Require(store.GetNumOfResult() <= store.GetNumOfResultAll(), "failed items are items");
    // One more than there are.
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
    Require(parsed || store.GetNumOfResultAll() == 0, "nothing of a refused file is stored");
    Query(store);
    return 0;
}
