#include "Screen.h"

#include <Efreet.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <ostream>
#include <tuple>

namespace fs = std::filesystem;

namespace {

// How often a condition is asked for while nothing else happens in the main loop.
const double POLL_SECONDS = 0.002;

std::mutex complaintsMutex;
std::vector<std::string>& Complaints() {
    static auto* complaints = new std::vector<std::string>;
    return *complaints;
}

// Kept instead of printed: a style that only the set's theme has is complained about for every row.
[[gnu::format(printf, 6, 0)]] void KeepComplaint(const Eina_Log_Domain* /*domain*/,
                                                 Eina_Log_Level level, const char* /*file*/,
                                                 const char* function, int /*line*/,
                                                 const char* format, void* /*data*/,
                                                 va_list arguments) {
    if (level > EINA_LOG_LEVEL_ERR) {
        return;
    }
    char text[1024];
    std::vsnprintf(text, sizeof(text), format, arguments);
    const std::lock_guard<std::mutex> lock(complaintsMutex);
    Complaints().push_back(std::string(function) + ": " + text);
}

// The toolkit's folder for its configuration and sockets; gone when the process ends.
class Home {
public:
    Home() : m_folder((fs::temp_directory_path() / "quorvel-home-XXXXXX").string()) {
        if (mkdtemp(m_folder.data()) == nullptr) {
            std::perror("quorvel_tests: cannot make a home folder");
            std::abort();
        }
    }
    ~Home() {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    const char* Path() const { return m_folder.c_str(); }

private:
    std::string m_folder;
};

void SetEnvironment(const char* home) {
    const std::tuple<const char*, const char*> variables[] = {
        {"HOME", home},           {"XDG_RUNTIME_DIR", home},    {"XDG_CONFIG_HOME", home},
        {"XDG_CACHE_HOME", home}, {"XDG_DATA_HOME", home},      {"ELM_DISPLAY", "buffer"},
        {"ELM_ENGINE", "buffer"}, {"ELM_PROFILE", "standard"},  {"ELM_SCALE", "1"},
        {"ELM_THEME", "default"}, {"EINA_LOG_BACKTRACE", "-1"}, {"ECORE_NO_SYSTEM_MODULES", "1"},
        {"LC_ALL", "C.UTF-8"},
    };
    for (const auto& [name, value] : variables) {
        setenv(name, value, 1);
    }
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
}

void StartToolkit() {
    static const Home home;
    SetEnvironment(home.Path());
    eina_init();
    eina_log_print_cb_set(KeepComplaint, nullptr);
    // Its helper program would outlive the tests.
    efreet_cache_disable();
    elm_init(0, nullptr);
    elm_config_item_select_on_focus_disabled_set(EINA_TRUE);
    // Still pictures, and no waiting for what only moves.
    edje_transition_duration_factor_set(0.0);
}

struct Deadline_s {
    bool passed = false;
    Ecore_Timer* timer = nullptr;
};

Eina_Bool OnDeadline(void* data) {
    auto* deadline = static_cast<Deadline_s*>(data);
    deadline->passed = true;
    deadline->timer = nullptr;
    return ECORE_CALLBACK_CANCEL;
}

Eina_Bool OnPoll(void* /*data*/) {
    return ECORE_CALLBACK_RENEW;
}

Eina_Bool OnIdle(void* data) {
    *static_cast<bool*>(data) = true;
    return ECORE_CALLBACK_CANCEL;
}

// The toolkit's table keeps its children in a plain one inside.
Evas_Object* InnerTableOf(Evas_Object* table) {
    Eina_List* members = evas_object_smart_members_get(table);
    Evas_Object* inner = nullptr;
    for (Eina_List* node = members; node != nullptr && inner == nullptr; node = node->next) {
        auto* member = static_cast<Evas_Object*>(node->data);
        const char* type = evas_object_type_get(member);
        if (type != nullptr && std::string(type) == "Evas_Object_Table") {
            inner = member;
        }
    }
    eina_list_free(members);
    return inner;
}

}  // namespace

bool operator==(const Cell& a, const Cell& b) {
    return std::tie(a.column, a.row, a.columns, a.rows) ==
           std::tie(b.column, b.row, b.columns, b.rows);
}

std::ostream& operator<<(std::ostream& out, const Cell& cell) {
    return out << "column " << cell.column << ", row " << cell.row << ", " << cell.columns << " x "
               << cell.rows;
}

bool Area::Holds(const Area& other) const {
    return other.x >= x && other.y >= y && other.Right() <= Right() && other.Bottom() <= Bottom();
}

bool operator==(const Area& a, const Area& b) {
    return std::tie(a.x, a.y, a.width, a.height) == std::tie(b.x, b.y, b.width, b.height);
}

std::ostream& operator<<(std::ostream& out, const Area& area) {
    return out << area.width << "x" << area.height << "+" << area.x << "+" << area.y;
}

bool operator==(const Colour& a, const Colour& b) {
    return std::tie(a.red, a.green, a.blue) == std::tie(b.red, b.green, b.blue);
}

std::ostream& operator<<(std::ostream& out, const Colour& colour) {
    return out << "(" << colour.red << ", " << colour.green << ", " << colour.blue << ")";
}

Picture::Picture(int width, int height, const std::uint32_t* pixels)
    : m_width(width),
      m_height(height),
      m_pixels(pixels, pixels + static_cast<size_t>(width) * static_cast<size_t>(height)) {}

Colour Picture::At(int x, int y) const {
    const size_t place =
        static_cast<size_t>(y) * static_cast<size_t>(m_width) + static_cast<size_t>(x);
    const std::uint32_t pixel = m_pixels.at(place);
    return {static_cast<int>(pixel >> 16U & 0xFFU), static_cast<int>(pixel >> 8U & 0xFFU),
            static_cast<int>(pixel & 0xFFU)};
}

int Picture::Count(const Area& area, const std::function<bool(const Colour&)>& condition) const {
    int count = 0;
    for (int y = std::max(area.y, 0); y < std::min(area.Bottom(), m_height); ++y) {
        for (int x = std::max(area.x, 0); x < std::min(area.Right(), m_width); ++x) {
            count += condition(At(x, y)) ? 1 : 0;
        }
    }
    return count;
}

void Screen::Start() {
    static const bool started = [] {
        StartToolkit();
        return true;
    }();
    static_cast<void>(started);
}

void Screen::Occupy(Evas_Object* win) {
    evas_object_resize(win, WIDTH, HEIGHT);
    // A window in memory takes itself for focused before it can take keys; this puts it right.
    Ecore_Evas* canvas = ecore_evas_ecore_evas_get(evas_object_evas_get(win));
    ecore_evas_focus_set(canvas, EINA_FALSE);
    ecore_evas_focus_set(canvas, EINA_TRUE);
}

bool Screen::PumpUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    Deadline_s deadline;
    deadline.timer =
        ecore_timer_add(std::chrono::duration<double>(limit).count(), OnDeadline, &deadline);
    Ecore_Timer* poll = ecore_timer_add(POLL_SECONDS, OnPoll, nullptr);
    bool holds = condition();
    while (!holds && !deadline.passed) {
        ecore_main_loop_iterate_may_block(EINA_TRUE);
        holds = condition();
    }
    ecore_timer_del(poll);
    if (deadline.timer != nullptr) {
        ecore_timer_del(deadline.timer);
    }
    return holds;
}

void Screen::Settle(Evas_Object* win) {
    // What laying out leads to is only due in the next turn.
    for (int turn = 0; turn < 2; ++turn) {
        bool idle = false;
        ecore_idler_add(OnIdle, &idle);
        PumpUntil([&idle] { return idle; });
        evas_smart_objects_calculate(evas_object_evas_get(win));
    }
}

void Screen::Press(Evas_Object* win, const std::string& key) {
    Evas* canvas = evas_object_evas_get(win);
    const char* name = key.c_str();
    evas_event_feed_key_down(canvas, name, name, nullptr, nullptr, 0, nullptr);
    evas_event_feed_key_up(canvas, name, name, nullptr, nullptr, 0, nullptr);
    Settle(win);
}

Evas_Object* Screen::FocusedWidget(Evas_Object* win) {
    return elm_object_focused_object_get(win);
}

Area Screen::AreaOf(const Evas_Object* obj) {
    Area area{};
    evas_object_geometry_get(obj, &area.x, &area.y, &area.width, &area.height);
    return area;
}

Picture Screen::Render(Evas_Object* win) {
    Settle(win);
    elm_win_render(win);
    Ecore_Evas* canvas = ecore_evas_ecore_evas_get(evas_object_evas_get(win));
    const Area area = AreaOf(win);
    const void* pixels = ecore_evas_buffer_pixels_get(canvas);
    return {area.width, area.height, static_cast<const std::uint32_t*>(pixels)};
}

bool Screen::IsPacked(Evas_Object* table, Evas_Object* obj) {
    const std::vector<Evas_Object*> children = PackedIn(table);
    return std::find(children.begin(), children.end(), obj) != children.end();
}

Cell Screen::CellOf(Evas_Object* obj) {
    Cell cell{-1, -1, 0, 0};
    elm_table_pack_get(obj, &cell.column, &cell.row, &cell.columns, &cell.rows);
    return cell;
}

std::vector<Evas_Object*> Screen::PackedIn(Evas_Object* table) {
    Eina_List* children = evas_object_table_children_get(InnerTableOf(table));
    std::vector<Evas_Object*> packed;
    for (Eina_List* node = children; node != nullptr; node = node->next) {
        packed.push_back(static_cast<Evas_Object*>(node->data));
    }
    eina_list_free(children);
    return packed;
}

std::vector<int> Screen::ColourOf(const Evas_Object* obj) {
    std::vector<int> colour(4);
    evas_object_color_get(obj, &colour[0], &colour[1], &colour[2], &colour[3]);
    return colour;
}

std::string Screen::FileOf(const Evas_Object* image) {
    const char* file = nullptr;
    elm_image_file_get(image, &file, nullptr);
    return file == nullptr ? "" : file;
}

bool Screen::HasPicture(const Evas_Object* image) {
    int width = 0;
    int height = 0;
    elm_image_object_size_get(image, &width, &height);
    return width > 0 && height > 0;
}

void Screen::WriteImage(const std::string& path, const Colour& colour) {
    const int side = 16;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << "P6\n" << side << " " << side << "\n255\n";
    for (int i = 0; i < side * side; ++i) {
        out << static_cast<char>(colour.red) << static_cast<char>(colour.green)
            << static_cast<char>(colour.blue);
    }
}

std::vector<std::string> Screen::TakeComplaints() {
    const std::lock_guard<std::mutex> lock(complaintsMutex);
    std::vector<std::string> complaints;
    complaints.swap(Complaints());
    return complaints;
}
