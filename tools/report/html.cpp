// One self-contained HTML page: for each run a timeline and the failed items.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "QELItemText.h"
#include "report/describe.h"
#include "report/format.h"
#include "report/html_page.h"
#include "runs/printable.h"

namespace quorvel::report {

namespace {

constexpr int kLaneHeight = 20;
constexpr int kBarHeight = 14;
constexpr std::int64_t kTimelineWidth = 10000;  // of a timeline, in its own units
constexpr std::int64_t kMinWidth = 20;          // of a bar
constexpr std::uintmax_t kMaxEmbeddedBytes = std::uintmax_t{16} << 20;

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
    static const char kDigits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const bool isThere = i + k < bytes.size();
            group = group << 8U | (isThere ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (unsigned int k = 0; k < 4; ++k) {
            const bool isPadding = i + k > bytes.size();
            text += isPadding ? '=' : kDigits[group >> (18U - 6U * k) & 0x3FU];
        }
    }
    return text;
}

// The page of one run. Items have numbers from 1, in the order of all items.
class RunPage {
public:
    RunPage(std::ostream& out, LoadedRun& run, unsigned int number)
        : m_Out(out), m_Run(run), m_Number(number), m_Failed(run.FindFailedPositions()) {
        for (unsigned int i = 0; i < run.Store().GetNumOfResultAll(); ++i) {
            m_Slots.push_back(run.FindSlot(i));
        }
    }

    void Write() {
        const runs::Run& source = m_Run.Source();
        m_Out << "<details class=\"run\" id=\"" << m_Number << "\""
              << (m_Number == 1 ? " open" : "") << "><summary>" << Escape(source.serialNumber)
              << " " << Escape(source.model) << " " << Escape(source.startTime) << ": "
              << m_Run.Store().GetNumOfResult() << " of " << m_Slots.size()
              << " items failed</summary>\n";
        m_WriteHeading();
        m_WriteTimeline();
        if (!m_Failed.empty()) {
            m_Out << "<div class=\"items\">\n";
            for (unsigned int id = 0; id < m_Failed.size(); ++id) {
                m_WriteItem(id);
            }
            m_Out << "</div>\n";
        }
        m_WriteAllItems();
        m_Out << "</details>\n";
    }

private:
    void m_WriteHeading() {
        m_Out << "<dl><dt>path</dt><dd>" << Escape(m_Run.Source().path) << "</dd>\n";
        const auto& files = m_Run.Source().files;
        for (auto file = files.rbegin(); file != files.rend(); ++file) {
            m_Out << "<dt>" << file->name << "</dt><dd>" << NameOf(file->state) << "</dd>\n";
        }
        m_Out << "</dl>\n";
        for (const std::string& problem : ListProblems(m_Run)) {
            m_Out << "<p class=\"warning\">" << Escape(problem) << "</p>\n";
        }
    }

    // The lanes of the test threads, from the top, and the span of all items with times.
    struct Timeline {
        std::map<int, int> lanes;
        std::int64_t first = INT64_MAX;
        std::int64_t last = INT64_MIN;

        // Returns the place of a time, in the units of the timeline.
        std::int64_t PlaceOf(std::int64_t time) const {
            return (time - first) * kTimelineWidth / std::max<std::int64_t>(last - first, 1);
        }
    };

    Timeline m_MeasureTimeline() const {
        Timeline timeline;
        for (const std::optional<Slot>& slot : m_Slots) {
            if (slot) {
                timeline.lanes[slot->thread] = 0;
                timeline.first = std::min<std::int64_t>(timeline.first, slot->start);
                timeline.last = std::max(timeline.last, m_EndOf(*slot));
            }
        }
        int number = 0;
        for (auto& thread : timeline.lanes) {
            thread.second = number++;
        }
        return timeline;
    }

    // Writes one lane for each test thread and one bar for each item with times.
    void m_WriteTimeline() {
        const Timeline timeline = m_MeasureTimeline();
        if (timeline.lanes.empty()) {
            return;
        }
        m_Out << "<div class=\"lanes\"><ol>";
        for (const auto& thread : timeline.lanes) {
            m_Out << "<li>thread " << thread.first << "</li>";
        }
        const std::size_t height = timeline.lanes.size() * kLaneHeight;
        m_Out << "</ol>\n<svg role=\"img\" aria-label=\"time windows of the items\" height=\""
              << height << "\" viewBox=\"0 0 " << kTimelineWidth << " " << height
              << "\" preserveAspectRatio=\"none\">\n";
        for (unsigned int i = 0; i < m_Slots.size(); ++i) {
            if (m_Slots[i]) {
                m_WriteBar(i, *m_Slots[i], timeline);
            }
        }
        m_Out << "</svg></div>\n";
    }

    static std::int64_t m_EndOf(const Slot& slot) {
        return std::int64_t{slot.start} + std::max(slot.duration, 0);
    }

    // A bar is at least kMinWidth wide, so that it is visible.
    void m_WriteBar(unsigned int i, const Slot& slot, const Timeline& timeline) {
        const std::int64_t x = std::min(timeline.PlaceOf(slot.start), kTimelineWidth - kMinWidth);
        const std::int64_t width = std::max(timeline.PlaceOf(m_EndOf(slot)) - x, kMinWidth);
        const int y = timeline.lanes.at(slot.thread) * kLaneHeight + (kLaneHeight - kBarHeight) / 2;
        m_Out << "<rect" << (m_IsFailed(i) ? " class=\"f\"" : "") << " data-i=\"" << i + 1
              << "\" x=\"" << x << "\" y=\"" << y << "\" width=\"" << width << "\" height=\""
              << kBarHeight << "\"><title>"
              << Escape(ValueOf(m_Run.Store().GetAllItems()[i], "name")) << "</title></rect>\n";
    }

    bool m_IsFailed(unsigned int i) const {
        return std::binary_search(m_Failed.begin(), m_Failed.end(), i);
    }

    void m_WriteItem(unsigned int id) {
        const std::string name = std::to_string(m_Number) + "-" + std::to_string(id + 1);
        m_Out << "<details class=\"item\" id=\"" << name << "\" data-i=\"" << m_Failed[id] + 1
              << "\"><summary>" << Escape(DescribeRow(m_Run, id)) << "<a href=\"#" << name
              << "\">link</a></summary>\n";
        m_WriteDetail(id);
        m_WriteAnalysis(m_Run.Analyse(id));
        m_Out << "</details>\n";
    }

    void m_WriteText(const char* start, const std::string& text) {
        if (!text.empty()) {
            m_Out << start << EscapeLines(text) << "</pre>\n";
        }
    }

    void m_WriteDetail(unsigned int id) {
        const QELXmlParser& store = m_Run.Store();
        m_WriteText("<pre>", QELItemText::ComposeResult(store, id));
        if (store.GetResultType(id) == RESULT_TYPE_IMAGE) {
            m_WritePhoto(id);
        }
        m_WriteText("<pre class=\"red\">", FindDetailedText(m_Run, id));
        m_WriteText("<pre class=\"red\">", ValueOf(store.GetFailedItems()[id], "reason"));
    }

    void m_WritePhoto(unsigned int id) {
        const std::string path = m_Run.FindPhoto(id);
        std::error_code error;
        const std::uintmax_t size = path.empty() ? 0 : std::filesystem::file_size(path, error);
        if (path.empty() || error || size > kMaxEmbeddedBytes) {
            m_Out << "<p class=\"warning\">photo missing or larger than "
                  << (kMaxEmbeddedBytes >> 20)
                  << " MiB: " << Escape(m_Run.Store().GetResult(id, "detailed")) << "</p>\n";
            return;
        }
        std::ifstream in(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
        const std::string type = FindMediaType(bytes);
        if (type.empty()) {
            m_Out << "<p class=\"warning\">the photo is not a JPEG, PNG, WebP or GIF file</p>\n";
        } else {
            m_Out << "<img alt=\"photo of the item\" loading=\"lazy\" src=\"data:" << type
                  << ";base64," << EncodeBase64(bytes) << "\">\n";
        }
    }

    // Writes the time window of the item and the numbers of its conflicts. The script takes the
    // names and time windows of the conflicts from the table of all items.
    void m_WriteAnalysis(const Analysis& analysis) {
        if (analysis.lines.empty()) {
            m_Out << "<p class=\"warning\">" << Escape(analysis.reason) << "</p>\n";
            return;
        }
        const QELConflictLine_s& own = analysis.lines.front();
        m_Out << "<p class=\"own\"><b>" << own.window.start << "</b> to <b>" << own.window.end
              << "</b> on thread <b>" << Escape(own.thread) << "</b>, ";
        for (std::size_t i = 1; i < analysis.lines.size(); ++i) {
            m_Out << (i == 1 ? "conflicts with the items <i>" : " ") << analysis.lines[i].item + 1;
        }
        m_Out << (analysis.lines.size() == 1 ? "no conflicts</p>\n" : "</i></p>\n");
    }

    void m_WriteAllItems() {
        if (m_Slots.empty()) {
            return;
        }
        m_Out << "<details class=\"all\"><summary>All items</summary>\n<div "
                 "class=\"table\"><table><tr><th>number<th>start<th>end<th>thread<th>codes"
                 "<th>result<th>name</tr>\n";
        for (unsigned int i = 0; i < m_Slots.size(); ++i) {
            m_WriteRow(i);
        }
        m_Out << "</table></div></details>\n";
    }

    // Writes the times as the analysis reads them, and unreadable times as in the result files.
    void m_WriteRow(unsigned int i) {
        const ResultItem& item = m_Run.Store().GetAllItems()[i];
        m_Out << "<tr><td>" << i + 1;
        if (m_Slots[i]) {
            m_Out << "<td>" << m_Slots[i]->window.start << "<td>" << m_Slots[i]->window.end;
        } else {
            m_Out << "<td>" << Escape(ValueOf(item, "timeAckAbsolute")) << "<td>";
        }
        m_Out << "<td>" << Escape(ValueOf(item, "threadID")) << "<td>"
              << Escape(ValueOf(item, "opcode")) << "," << Escape(ValueOf(item, "msgcode")) << "<td"
              << (m_IsFailed(i) ? " class=\"red\">" : ">") << Escape(ValueOf(item, "result"))
              << "<td>" << Escape(ValueOf(item, "name")) << "</tr>\n";
    }

    std::ostream& m_Out;
    LoadedRun& m_Run;
    unsigned int m_Number;
    std::vector<unsigned int> m_Failed;        // the positions of the failed items
    std::vector<std::optional<Slot>> m_Slots;  // of all items
};

class HtmlFormat : public Format {
public:
    void Begin(std::ostream& out) const override { out << kHtmlStart; }
    void WriteRun(std::ostream& out, LoadedRun& run, unsigned int number) const override {
        RunPage(out, run, number + 1).Write();
    }
    void End(std::ostream& out, const Totals& totals) const override {
        out << "<p id=\"totals\">runs: " << totals.runs << " (" << totals.runsWithFailures
            << " with failed items), items: " << totals.items << " (" << totals.failedItems
            << " failed)</p>\n"
            << kHtmlEnd;
    }
};

}  // namespace

std::unique_ptr<Format> MakeHtmlFormat() {
    return std::make_unique<HtmlFormat>();
}

}  // namespace quorvel::report
