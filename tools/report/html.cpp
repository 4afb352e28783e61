// One self-contained HTML page: for each run a timeline and the failed items.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "QELItemText.h"
#include "report/describe.h"
#include "report/format.h"
#include "report/html_page.h"

namespace quorvel::report {

namespace {

constexpr int kLaneHeight = 20;
constexpr int kBarHeight = 14;
constexpr std::int64_t kWidth = 10000;  // of a timeline, in its own units
constexpr std::uintmax_t kMaxPhotoBytes = std::uintmax_t{16} << 20;

// Returns the text for an element or a quoted attribute.
std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char c : runs::MakePrintable(text)) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string EscapeLines(const std::string& text) {
    std::istringstream lines(text);
    std::string escaped;
    for (std::string line; std::getline(lines, line);) {
        escaped += Escape(line) + "\n";
    }
    return escaped;
}

// A path may contain bytes that are not UTF-8; they are replaced.
std::string EscapePath(const std::string& path) {
    using nlohmann::json;
    const std::string text = json(path).dump(-1, ' ', false, json::error_handler_t::replace);
    return Escape(json::parse(text).get<std::string>());
}

// Returns the media type of a picture; empty for other files.
std::string FindMediaType(const std::string& bytes) {
    const auto begins = [&bytes](const std::string& mark, std::size_t at = 0) {
        return bytes.compare(at, mark.size(), mark) == 0;
    };
    if (begins("\xFF\xD8\xFF")) {
        return "image/jpeg";
    }
    if (begins("\x89PNG\r\n\x1A\n")) {
        return "image/png";
    }
    if (begins("RIFF") && bytes.size() > 12 && begins("WEBP", 8)) {
        return "image/webp";
    }
    return begins("GIF8") ? "image/gif" : "";
}

std::string EncodeBase64(const std::string& bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const bool isThere = i + k < bytes.size();
            group = group << 8U | (isThere ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (unsigned int k = 0; k < 4; ++k) {
            const bool isPadding = i + k > bytes.size();
            text += isPadding ? '=' : digits[group >> (18U - 6U * k) & 0x3FU];
        }
    }
    return text;
}

// The page of one run.
class RunPage {
public:
    RunPage(std::ostream& out, LoadedRun& run, unsigned int number)
        : m_Out(out), m_Run(run), m_Number(number), m_Failed(run.FindFailedPositions()) {}

    void Write() {
        const runs::Run& source = m_Run.Source();
        m_Out << "<details class=\"run\" id=\"" << m_Number << "\""
              << (m_Number == 1 ? " open" : "") << "><summary>" << Escape(source.serialNumber)
              << " " << Escape(source.model) << " " << Escape(source.startTime) << ": "
              << m_Run.Store().GetNumOfResult() << " of " << m_Run.Store().GetNumOfResultAll()
              << " items failed</summary>\n";
        m_WriteHeading();
        m_WriteTimeline();
        m_Out << "<ol class=\"items\">\n";
        for (unsigned int id = 0; id < m_Run.Store().GetNumOfResult(); ++id) {
            m_WriteItem(id);
        }
        m_Out << "</ol>\n</details>\n";
    }

private:
    void m_WriteHeading() {
        m_Out << "<dl><dt>path</dt><dd>" << EscapePath(m_Run.Source().path) << "</dd>\n";
        const auto& files = m_Run.Source().files;
        for (auto file = files.rbegin(); file != files.rend(); ++file) {
            m_Out << "<dt>" << file->name << "</dt><dd>" << NameOf(file->state) << "</dd>\n";
        }
        m_Out << "</dl>\n";
        for (const std::string& problem : ListProblems(m_Run)) {
            m_Out << "<p class=\"warning\">" << EscapePath(problem) << "</p>\n";
        }
    }

    // One lane for each test thread, one bar for each item with times.
    void m_WriteTimeline() {
        std::map<int, int> lanes;
        std::int64_t first = INT64_MAX;
        std::int64_t last = INT64_MIN;
        for (unsigned int i = 0; i < m_Run.Store().GetNumOfResultAll(); ++i) {
            if (const auto slot = m_Run.FindSlot(i)) {
                lanes[slot->thread] = 0;
                first = std::min<std::int64_t>(first, slot->start);
                last = std::max(last, m_EndOf(*slot));
            }
        }
        if (lanes.empty()) {
            return;
        }
        m_WriteLaneNames(lanes);
        const std::size_t height = lanes.size() * kLaneHeight;
        m_Out << "<svg role=\"img\" aria-label=\"time windows of the items\" height=\"" << height
              << "\" viewBox=\"0 0 " << kWidth << " " << height
              << "\" preserveAspectRatio=\"none\">\n";
        for (unsigned int i = 0; i < m_Run.Store().GetNumOfResultAll(); ++i) {
            if (const auto slot = m_Run.FindSlot(i)) {
                m_WriteBar(i, *slot, lanes[slot->thread], first,
                           std::max<std::int64_t>(last - first, 1));
            }
        }
        m_Out << "</svg></div>\n";
    }

    void m_WriteLaneNames(std::map<int, int>& lanes) {
        m_Out << "<div class=\"lanes\"><ol>";
        int number = 0;
        for (auto& [thread, lane] : lanes) {
            lane = number++;
            m_Out << "<li>thread " << thread << "</li>";
        }
        m_Out << "</ol>\n";
    }

    static std::int64_t m_EndOf(const Slot& slot) {
        return std::int64_t{slot.start} + std::max(slot.duration, 0);
    }

    void m_WriteBar(unsigned int i, const Slot& slot, int lane, std::int64_t first,
                    std::int64_t span) {
        const std::int64_t x = (slot.start - first) * kWidth / span;
        const std::int64_t end = (m_EndOf(slot) - first) * kWidth / span;
        const bool isFailed = std::binary_search(m_Failed.begin(), m_Failed.end(), i);
        // At least as wide as can be seen.
        m_Out << "<rect" << (isFailed ? " class=\"f\"" : "") << " data-i=\"" << i << "\" x=\"" << x
              << "\" y=\"" << lane * kLaneHeight + (kLaneHeight - kBarHeight) / 2 << "\" width=\""
              << std::max<std::int64_t>(end - x, kWidth / 500) << "\" height=\"" << kBarHeight
              << "\"><title>" << Escape(ValueOf(m_Run.Store().GetAllItems()[i], "name"))
              << "</title></rect>\n";
    }

    void m_WriteItem(unsigned int id) {
        const ResultItem& item = m_Run.Store().GetFailedItems()[id];
        const Analysis analysis = m_Run.Analyse(id);
        const std::string name = std::to_string(m_Number) + "-" + std::to_string(id + 1);
        m_Out << "<li><details class=\"item\" id=\"" << name << "\" data-i=\"" << m_Failed[id]
              << "\" data-c=\"";
        for (std::size_t i = 1; i < analysis.lines.size(); ++i) {
            m_Out << (i == 1 ? "" : " ") << analysis.lines[i].item;
        }
        m_Out << "\" data-k=\"" << Escape(ValueOf(item, "name")) << " "
              << Escape(ValueOf(item, "opcode")) << "," << Escape(ValueOf(item, "msgcode"))
              << "\"><summary>" << Escape(DescribeRow(m_Run, id)) << "<a href=\"#" << name
              << "\">link</a></summary>\n";
        m_WriteDetail(id, item);
        m_WriteAnalysis(analysis);
        m_Out << "</details></li>\n";
    }

    void m_WriteText(const char* start, const std::string& text) {
        if (!text.empty()) {
            m_Out << start << EscapeLines(text) << "</pre>\n";
        }
    }

    void m_WriteDetail(unsigned int id, const ResultItem& item) {
        const QELXmlParser& store = m_Run.Store();
        m_WriteText("<pre>", QELItemText::ComposeResult(store, id));
        const app_result_type_e type = store.GetResultType(id);
        if (type == RESULT_TYPE_IMAGE) {
            m_WritePhoto(id);
        } else if (type != RESULT_TYPE_RNSC && item.count("detailed") != 0) {
            m_WriteText("<pre class=\"red\">", store.GetResult(id, "detailed"));
        }
        m_WriteText("<pre class=\"red\">", ValueOf(item, "reason"));
    }

    void m_WritePhoto(unsigned int id) {
        const std::string path = m_Run.FindPhoto(id);
        std::error_code error;
        const std::uintmax_t size = path.empty() ? 0 : std::filesystem::file_size(path, error);
        if (path.empty() || error || size > kMaxPhotoBytes) {
            m_Out << "<p class=\"warning\">photo missing or larger than 16 MiB: "
                  << Escape(m_Run.Store().GetResult(id, "detailed")) << "</p>\n";
            return;
        }
        std::ifstream in(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
        const std::string type = FindMediaType(bytes);
        if (type.empty()) {
            m_Out << "<p class=\"warning\">the photo is no JPEG, PNG, WebP or GIF file</p>\n";
        } else {
            m_Out << "<img alt=\"photo of the item\" loading=\"lazy\" src=\"data:" << type
                  << ";base64," << EncodeBase64(bytes) << "\">\n";
        }
    }

    void m_WriteAnalysis(const Analysis& analysis) {
        if (analysis.lines.empty()) {
            m_Out << "<p class=\"warning\">" << Escape(analysis.reason) << "</p>\n";
            return;
        }
        m_Out << "<div "
                 "class=\"table\"><table><tr><th>start<th>end<th>overlap<th>thread<th>name</tr>\n";
        for (const QELConflictLine_s& line : analysis.lines) {
            const bool isOwn = &line == &analysis.lines.front();
            m_Out << "<tr><td>" << line.window.start << "<td>" << line.window.end << "<td>";
            if (!isOwn) {
                m_Out << OverlapOf(analysis.lines.front().window, line.window);
            }
            m_Out << "<td>" << Escape(line.thread) << "<td>" << Escape(line.name) << "</tr>\n";
        }
        m_Out << "</table></div>\n";
    }

    std::ostream& m_Out;
    LoadedRun& m_Run;
    unsigned int m_Number;
    std::vector<unsigned int> m_Failed;
};

class HtmlFormat : public Format {
public:
    void Begin(std::ostream& out) const override { out << kHtmlStart; }
    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int number) const override {
        RunPage(out, run, number + 1).Write();
    }
    void End(std::ostream& out, const Totals& totals) const override {
        out << "<p>" << totals.runs << " runs, " << totals.runsWithFailures
            << " with failed items; " << totals.items << " items, " << totals.failedItems
            << " failed</p>\n"
            << kHtmlEnd;
    }
};

}  // namespace

std::unique_ptr<Format> MakeHtmlFormat() {
    return std::make_unique<HtmlFormat>();
}

}  // namespace quorvel::report
