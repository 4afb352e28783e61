#ifndef QUORVEL_TESTS_PLATFORM_STAGE_H_
#define QUORVEL_TESTS_PLATFORM_STAGE_H_

#include <Elementary.h>

#include <string>
#include <vector>

// What differs from stage to stage.
struct StagePlan {
    int rows = 3;
    // Of the information panels.
    int infoLines = 9;
    // Of the screen; the port takes one that draws into memory for 1920x1080.
    int width = 1920;
    int height = 1080;
};

// A window of the port, drawn into memory, with widgets as the application makes them: the same
// calls, styles, cells and texts. The toolkit and what the port adds to it are started on first
// use, once in a process. Main thread only.
class Stage {
public:
    explicit Stage(const StagePlan& plan = StagePlan());
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // Starts the toolkit and the port, when that was not done before; without it, no stage.
    static void StartToolkit();

    // Sets the text of the panel, as the application does for a result of so many lines.
    void ShowResult(int lines);
    // Shows the popup as it is while something runs (true), or at the end.
    void ShowPopup(bool running);

    // Which rows have told their focus to a callback that was registered after all was made, in
    // order; and what the panel's label has told.
    const std::vector<int>& FocusedRows() const { return m_FocusedRows; }
    const std::vector<std::string>& LabelEvents() const { return m_LabelEvents; }
    // How often OK reached a row, and the popup's button.
    int RowPresses() const { return m_RowPresses; }
    int OkPresses() const { return m_OkPresses; }

    // Presses and releases a key and waits until its consequences have come.
    void Press(const std::string& key);
    Elm_Object_Item* Row(int number) const;

    Evas_Object* window = nullptr;
    Evas_Object* table = nullptr;
    Evas_Object* title = nullptr;
    Evas_Object* list = nullptr;
    Evas_Object* infoLeft = nullptr;
    Evas_Object* infoRight = nullptr;
    Evas_Object* scroller = nullptr;
    Evas_Object* label = nullptr;
    Evas_Object* button = nullptr;
    Evas_Object* popup = nullptr;
    Evas_Object* popupLabel = nullptr;
    Evas_Object* loader = nullptr;
    Evas_Object* ok = nullptr;

private:
    Evas_Object* m_MakeInfo(int lines, int column);
    void m_MakeTitle();
    void m_MakePopup();
    void m_MakeList(int rows);
    void m_MakePanel();
    void m_MakeButton();
    void m_Watch();

    static void OnRowFocused(void* data, Evas_Object*, void* row);
    static void OnRowPressed(void* data, Evas_Object*, void*);
    static void OnLabelFocused(void* data, Evas_Object*, void*);
    static void OnLabelUnfocused(void* data, Evas_Object*, void*);
    static void OnOkPressed(void* data, Evas_Object*, void*);

    // What the rows are called.
    std::vector<int> m_Numbers;
    std::vector<int> m_FocusedRows;
    std::vector<std::string> m_LabelEvents;
    int m_RowPresses = 0;
    int m_OkPresses = 0;
};

#endif  // QUORVEL_TESTS_PLATFORM_STAGE_H_
