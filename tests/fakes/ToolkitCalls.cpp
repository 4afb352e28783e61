#include "fakes/ToolkitCalls.h"

#include <Elementary.h>

#include <algorithm>
#include <mutex>
#include <sstream>
#include <thread>
#include <type_traits>
#include <variant>

#include "fixtures/Screen.h"

namespace {

using Argument = std::variant<const void*, std::string>;

struct Call {
    std::string function;
    std::vector<Argument> arguments;
};

struct CallRecorder {
    bool recording = false;
    std::vector<Call> calls;
    std::map<std::string, std::function<void()>> observers;
    int registrationsLeft = 0;
    std::thread::id mainThread;

    // Guards foreignCalls, the only member that several threads use.
    std::mutex mutex;
    std::vector<std::string> foreignCalls;
};

CallRecorder& Recorder() {
    static auto* recorder = new CallRecorder;
    return *recorder;
}

Argument ToArgument(const char* text) {
    return "\"" + std::string(text) + "\"";
}

template <typename T>
Argument ToArgument(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<const void*>(value);
    } else {
        std::ostringstream text;
        text << +value;
        return text.str();
    }
}

bool IsForeignThread() {
    const CallRecorder& recorder = Recorder();
    return recorder.mainThread != std::thread::id() &&
           recorder.mainThread != std::this_thread::get_id();
}

// Returns whether this thread is not the main thread. Stores the call in that case.
bool StoreForeign(const char* function) {
    if (!IsForeignThread()) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(Recorder().mutex);
    Recorder().foreignCalls.emplace_back(function);
    return true;
}

void NotifyObserver(const char* function) {
    const auto observer = Recorder().observers.find(function);
    if (observer != Recorder().observers.end()) {
        observer->second();
    }
}

// Checks the thread of a call and notifies its observer, but does not record the call.
void Observe(const char* function) {
    if (!StoreForeign(function) && Recorder().recording) {
        NotifyObserver(function);
    }
}

template <typename... Arguments>
void Record(const char* function, Arguments... arguments) {
    if (!StoreForeign(function) && Recorder().recording) {
        Recorder().calls.push_back({function, {ToArgument(arguments)...}});
        NotifyObserver(function);
    }
}

// Counts one query of the allocation error. Returns whether this query reports a failure.
bool IsRegistrationToFail() {
    int& left = Recorder().registrationsLeft;
    if (left == 0) {
        return false;
    }
    --left;
    return left == 0;
}

std::string Text(const Argument& argument, const ToolkitCalls::Names& names) {
    if (const auto* text = std::get_if<std::string>(&argument)) {
        return *text;
    }
    const void* object = std::get<const void*>(argument);
    if (object == nullptr) {
        return "null";
    }
    const auto name = names.find(object);
    return name == names.end() ? "?" : name->second;
}

std::string Text(const Call& call, const ToolkitCalls::Names& names) {
    std::string text = call.function + "(";
    for (size_t i = 0; i < call.arguments.size(); ++i) {
        text += (i == 0 ? "" : ", ") + Text(call.arguments[i], names);
    }
    return text + ")";
}

}  // namespace

void ToolkitCalls::Start() {
    CallRecorder& recorder = Recorder();
    if (recorder.mainThread == std::thread::id()) {
        recorder.mainThread = std::this_thread::get_id();
    }
    recorder.calls.clear();
    recorder.observers.clear();
    recorder.recording = true;
}

void ToolkitCalls::OnCall(const std::string& function, const std::function<void()>& observer) {
    Recorder().observers[function] = observer;
}

std::vector<std::string> ToolkitCalls::Take(const Names& names,
                                            const std::vector<std::string>& functions) {
    CallRecorder& recorder = Recorder();
    recorder.recording = false;
    std::vector<std::string> texts;
    for (const Call& call : recorder.calls) {
        if (functions.empty() ||
            std::find(functions.begin(), functions.end(), call.function) != functions.end()) {
            texts.push_back(Text(call, names));
        }
    }
    return texts;
}

int ToolkitCalls::Count(const std::string& function) {
    const std::vector<Call>& calls = Recorder().calls;
    return static_cast<int>(
        std::count_if(calls.begin(), calls.end(),
                      [&function](const Call& call) { return call.function == function; }));
}

void ToolkitCalls::FailRegistration(int nth) {
    Recorder().registrationsLeft = nth;
}

std::vector<std::string> ToolkitCalls::TakeForeignCalls() {
    CallRecorder& recorder = Recorder();
    const std::lock_guard<std::mutex> lock(recorder.mutex);
    std::vector<std::string> calls;
    calls.swap(recorder.foreignCalls);
    return calls;
}

// The linker option --wrap defines the names: a call of f calls __wrap_f, and __real_f is f itself.
// The fake records a creation after the call, with the result as the first argument. The fake
// records every other call before the call, so that nested calls follow.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,bugprone-macro-parentheses)
extern "C" {

#define WRAP_CREATION(function, Parent)               \
    Evas_Object* __real_##function(Parent* parent);   \
    Evas_Object* __wrap_##function(Parent* parent);   \
    Evas_Object* __wrap_##function(Parent* parent) {  \
        Evas_Object* obj = __real_##function(parent); \
        Record(#function, obj, parent);               \
        return obj;                                   \
    }

WRAP_CREATION(elm_box_add, Evas_Object)
WRAP_CREATION(elm_button_add, Evas_Object)
WRAP_CREATION(elm_genlist_add, Evas_Object)
WRAP_CREATION(elm_image_add, Evas_Object)
WRAP_CREATION(elm_label_add, Evas_Object)
WRAP_CREATION(elm_popup_add, Evas_Object)
WRAP_CREATION(elm_progressbar_add, Evas_Object)
WRAP_CREATION(elm_scroller_add, Evas_Object)
WRAP_CREATION(elm_table_add, Evas_Object)
WRAP_CREATION(evas_object_image_add, Evas)
WRAP_CREATION(evas_object_rectangle_add, Evas)

#define WRAP_1(function, T1)       \
    void __real_##function(T1 a);  \
    void __wrap_##function(T1 a);  \
    void __wrap_##function(T1 a) { \
        Record(#function, a);      \
        __real_##function(a);      \
    }

WRAP_1(elm_app_base_scale_set, double)
WRAP_1(elm_genlist_item_class_free, Elm_Genlist_Item_Class*)
WRAP_1(evas_object_del, Evas_Object*)
WRAP_1(evas_object_hide, Evas_Object*)
WRAP_1(evas_object_show, Evas_Object*)

#define WRAP_2(function, T1, T2)         \
    void __real_##function(T1 a, T2 b);  \
    void __wrap_##function(T1 a, T2 b);  \
    void __wrap_##function(T1 a, T2 b) { \
        Record(#function, a, b);         \
        __real_##function(a, b);         \
    }

WRAP_2(elm_box_pack_end, Evas_Object*, Evas_Object*)
WRAP_2(elm_genlist_item_bring_in, Elm_Object_Item*, Elm_Genlist_Item_Scrollto_Type)
WRAP_2(elm_object_disabled_set, Evas_Object*, Eina_Bool)
WRAP_2(elm_object_focus_allow_set, Evas_Object*, Eina_Bool)
WRAP_2(elm_object_focus_set, Evas_Object*, Eina_Bool)
WRAP_2(elm_progressbar_pulse, Evas_Object*, Eina_Bool)
WRAP_2(elm_win_autodel_set, Evas_Object*, Eina_Bool)
WRAP_2(elm_win_resize_object_add, Evas_Object*, Evas_Object*)
WRAP_2(evas_object_image_alpha_set, Evas_Object*, Eina_Bool)

void __real_elm_object_part_content_set(Evas_Object* obj, const char* part, Evas_Object* content);
void __wrap_elm_object_part_content_set(Evas_Object* obj, const char* part, Evas_Object* content);
void __wrap_elm_object_part_content_set(Evas_Object* obj, const char* part, Evas_Object* content) {
    Record("elm_object_part_content_set", obj, part == nullptr ? "default" : part, content);
    __real_elm_object_part_content_set(obj, part, content);
}

#define OBSERVE_2(function, T1, T2)      \
    void __real_##function(T1 a, T2 b);  \
    void __wrap_##function(T1 a, T2 b);  \
    void __wrap_##function(T1 a, T2 b) { \
        Observe(#function);              \
        __real_##function(a, b);         \
    }

OBSERVE_2(elm_table_homogeneous_set, Evas_Object*, Eina_Bool)
OBSERVE_2(evas_object_image_filled_set, Evas_Object*, Eina_Bool)

#define OBSERVE_3(function, T1, T2, T3)        \
    void __real_##function(T1 a, T2 b, T3 c);  \
    void __wrap_##function(T1 a, T2 b, T3 c);  \
    void __wrap_##function(T1 a, T2 b, T3 c) { \
        Observe(#function);                    \
        __real_##function(a, b, c);            \
    }

OBSERVE_3(elm_object_part_text_set, Evas_Object*, const char*, const char*)
OBSERVE_3(elm_table_padding_set, Evas_Object*, Evas_Coord, Evas_Coord)
OBSERVE_3(evas_object_image_file_set, Evas_Object*, const char*, const char*)
OBSERVE_3(evas_object_size_hint_align_set, Evas_Object*, double, double)
OBSERVE_3(evas_object_size_hint_weight_set, Evas_Object*, double, double)

Eina_Bool __real_elm_image_file_set(Evas_Object* obj, const char* file, const char* group);
Eina_Bool __wrap_elm_image_file_set(Evas_Object* obj, const char* file, const char* group);
Eina_Bool __wrap_elm_image_file_set(Evas_Object* obj, const char* file, const char* group) {
    Observe("elm_image_file_set");
    return __real_elm_image_file_set(obj, file, group);
}

void __real_elm_scroller_step_size_set(Evas_Object* obj, Evas_Coord x, Evas_Coord y);
void __wrap_elm_scroller_step_size_set(Evas_Object* obj, Evas_Coord x, Evas_Coord y);
void __wrap_elm_scroller_step_size_set(Evas_Object* obj, Evas_Coord x, Evas_Coord y) {
    Record("elm_scroller_step_size_set", obj, x, y);
    __real_elm_scroller_step_size_set(obj, x, y);
}

void __real_elm_table_pack(Evas_Object* table, Evas_Object* obj, int column, int row, int columns,
                           int rows);
void __wrap_elm_table_pack(Evas_Object* table, Evas_Object* obj, int column, int row, int columns,
                           int rows);
void __wrap_elm_table_pack(Evas_Object* table, Evas_Object* obj, int column, int row, int columns,
                           int rows) {
    Record("elm_table_pack", table, obj, column, row, columns, rows);
    __real_elm_table_pack(table, obj, column, row, columns, rows);
}

void __real_evas_object_color_set(Evas_Object* obj, int r, int g, int b, int a);
void __wrap_evas_object_color_set(Evas_Object* obj, int r, int g, int b, int a);
void __wrap_evas_object_color_set(Evas_Object* obj, int r, int g, int b, int a) {
    Record("evas_object_color_set", obj, r, g, b, a);
    __real_evas_object_color_set(obj, r, g, b, a);
}

void __real_evas_object_smart_callback_add(Evas_Object* obj, const char* event,
                                           Evas_Smart_Cb handler, const void* data);
void __wrap_evas_object_smart_callback_add(Evas_Object* obj, const char* event,
                                           Evas_Smart_Cb handler, const void* data);
void __wrap_evas_object_smart_callback_add(Evas_Object* obj, const char* event,
                                           Evas_Smart_Cb handler, const void* data) {
    Record("register", obj, event, handler, data);
    __real_evas_object_smart_callback_add(obj, event, handler, data);
}

// The record omits the priority. Tests check the effect of the priority by emitting the event.
void __real_evas_object_smart_callback_priority_add(Evas_Object* obj, const char* event,
                                                    Evas_Callback_Priority priority,
                                                    Evas_Smart_Cb handler, const void* data);
void __wrap_evas_object_smart_callback_priority_add(Evas_Object* obj, const char* event,
                                                    Evas_Callback_Priority priority,
                                                    Evas_Smart_Cb handler, const void* data);
void __wrap_evas_object_smart_callback_priority_add(Evas_Object* obj, const char* event,
                                                    Evas_Callback_Priority priority,
                                                    Evas_Smart_Cb handler, const void* data) {
    Record("register", obj, event, handler, data);
    __real_evas_object_smart_callback_priority_add(obj, event, priority, handler, data);
}

Evas_Alloc_Error __real_evas_alloc_error(void);
Evas_Alloc_Error __wrap_evas_alloc_error(void);
Evas_Alloc_Error __wrap_evas_alloc_error(void) {
    return IsRegistrationToFail() ? EVAS_ALLOC_ERROR_FATAL : __real_evas_alloc_error();
}

Ecore_Timer* __real_ecore_timer_add(double seconds, Ecore_Task_Cb callback, const void* data);
Ecore_Timer* __wrap_ecore_timer_add(double seconds, Ecore_Task_Cb callback, const void* data);
Ecore_Timer* __wrap_ecore_timer_add(double seconds, Ecore_Task_Cb callback, const void* data) {
    Record("ecore_timer_add", seconds, callback, data);
    return __real_ecore_timer_add(seconds, callback, data);
}

void* __real_ecore_timer_del(Ecore_Timer* timer);
void* __wrap_ecore_timer_del(Ecore_Timer* timer);
void* __wrap_ecore_timer_del(Ecore_Timer* timer) {
    Record("ecore_timer_del", timer);
    return __real_ecore_timer_del(timer);
}

void __wrap_elm_exit(void);
void __wrap_elm_exit(void) {
    Record("elm_exit");
}

// Gives the window the size of the screen and the focus at once, like the full-screen window of a
// set.
Evas_Object* __real_elm_win_util_standard_add(const char* name, const char* title);
Evas_Object* __wrap_elm_win_util_standard_add(const char* name, const char* title);
Evas_Object* __wrap_elm_win_util_standard_add(const char* name, const char* title) {
    Evas_Object* win = __real_elm_win_util_standard_add(name, title);
    Record("elm_win_util_standard_add", win, name, title);
    Screen::Occupy(win);
    return win;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,bugprone-macro-parentheses)
