// quorvel-report: reports and analyses the failed items of many runs.

#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>

#include "report/options.h"
#include "report/report.h"
#include "report/xml_memory.h"
#include "standard_output.h"
#include "xml_input.h"

namespace {

// Opens the closed standard streams, so that a file that is opened later does not get their
// numbers.
void OpenClosedStreams() {
    int descriptor = 0;
    do {
        // Opened for reading, so that writing fails as on a closed stream.
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

}  // namespace

int main(int argc, char** argv) {
    OpenClosedStreams();
    quorvel::desktop::CheckOutputAtExit("quorvel-report");
    quorvel::report::UseXmlMemory();
    // mbrtowc and wcwidth need a UTF-8 locale. The user's locale has no effect on the report.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    // A write to a closed pipe, or beyond a limit on the size of files, then fails and does not end
    // the process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // The function is empty, because the report lists the problems of a file with its run.
    quorvel::desktop::LimitXmlInput([](const std::string&) {});
    return quorvel::report::WriteReport(quorvel::report::ParseOptions(argc, argv));
}
