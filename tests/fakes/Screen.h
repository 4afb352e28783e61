#ifndef QUORVEL_TESTS_SCREEN_H_
#define QUORVEL_TESTS_SCREEN_H_

#include <Elementary.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// A place in a table.
struct Cell {
    int column;
    int row;
    int columns;
    int rows;
};
bool operator==(const Cell& a, const Cell& b);
std::ostream& operator<<(std::ostream& out, const Cell& cell);

// A place on the screen, in pixels.
struct Area {
    int x;
    int y;
    int width;
    int height;

    int Right() const { return x + width; }
    int Bottom() const { return y + height; }
    // Whether the other one lies inside, edges included.
    bool Holds(const Area& other) const;
};
bool operator==(const Area& a, const Area& b);
std::ostream& operator<<(std::ostream& out, const Area& area);

// An opaque colour.
struct Colour {
    int red;
    int green;
    int blue;
};
bool operator==(const Colour& a, const Colour& b);
std::ostream& operator<<(std::ostream& out, const Colour& colour);

// What a person would see of a window at one moment.
class Picture {
public:
    Picture(int width, int height, const std::uint32_t* pixels);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    Colour At(int x, int y) const;
    // How many pixels of the area satisfy the condition.
    int Count(const Area& area, const std::function<bool(const Colour&)>& condition) const;

private:
    int m_width;
    int m_height;
    std::vector<std::uint32_t> m_pixels;
};

// The toolkit in this process, without a display: windows of 1920x1080 that are drawn into memory,
// have the focus and take keys. One toolkit per process, started on first use; main thread only.
class Screen {
public:
    static constexpr int WIDTH = 1920;
    static constexpr int HEIGHT = 1080;

    Screen() = delete;

    // Starts the toolkit, with a home folder of its own and nothing read from outside.
    static void Start();
    // Gives a window that was just made the whole screen and the focus.
    static void Occupy(Evas_Object* win);

    // Runs the main loop until the condition holds; false when the time is up before that.
    static bool PumpUntil(const std::function<bool()>& condition,
                          std::chrono::milliseconds limit = std::chrono::seconds(20));
    // Lets the main loop do what is due, and lays the window out.
    static void Settle(Evas_Object* win);

    // Presses and releases a key in the window, then settles it.
    static void Press(Evas_Object* win, const std::string& key);
    // The widget of the window that has the keyboard focus; null when none has.
    static Evas_Object* FocusedWidget(Evas_Object* win);

    static Area AreaOf(const Evas_Object* obj);
    static Picture Render(Evas_Object* win);

    // Whether the object is packed in the table, and where.
    static bool IsPacked(Evas_Object* table, Evas_Object* obj);
    static Cell CellOf(Evas_Object* obj);
    // What is packed in the table, in the order of packing.
    static std::vector<Evas_Object*> PackedIn(Evas_Object* table);
    // The colour that was set, transparency last.
    static std::vector<int> ColourOf(const Evas_Object* obj);
    // The file that an image shows; empty when none.
    static std::string FileOf(const Evas_Object* image);
    // Whether an image has a picture to show.
    static bool HasPicture(const Evas_Object* image);

    // Writes an image file of one colour.
    static void WriteImage(const std::string& path, const Colour& colour);

    // What the toolkit complained about since the last call.
    static std::vector<std::string> TakeComplaints();
};

#endif  // QUORVEL_TESTS_SCREEN_H_
