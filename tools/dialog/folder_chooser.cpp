#include "dialog/folder_chooser.h"

#include <Ecore.h>
#include <Eldbus.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>

namespace quorvel::dialog {

namespace {

constexpr const char* kBus = "org.freedesktop.portal.Desktop";
constexpr const char* kObject = "/org/freedesktop/portal/desktop";
constexpr const char* kChooser = "org.freedesktop.portal.FileChooser";
constexpr const char* kRequest = "org.freedesktop.portal.Request";

// The response codes of a request.
constexpr std::uint32_t kAnswered = 0;
constexpr std::uint32_t kCancelledByUser = 1;

// Returns the path of a file: URI; an empty text for an invalid or any other URI. Does not use
// efreet_uri_decode, which reads beyond a text that ends with "%".
std::string PathOfUri(const std::string& uri) {
    const std::string scheme = "file://";
    const auto start = uri.find('/', scheme.size());
    if (uri.compare(0, scheme.size(), scheme) != 0 || start == std::string::npos) {
        return {};
    }
    std::string path;
    for (auto i = start; i < uri.size(); ++i) {
        auto byte = static_cast<unsigned char>(uri[i]);
        if (uri[i] == '%') {
            const char* digits = uri.c_str() + i + 1;
            const char* end = uri.c_str() + std::min(i + 3, uri.size());
            if (end - digits != 2 || std::from_chars(digits, end, byte, 16).ptr != end) {
                return {};
            }
            i += 2;
        }
        if (byte == 0) {
            return {};
        }
        path += static_cast<char>(byte);
    }
    return path;
}

// The data of the callbacks. Ask owns the object.
struct Answer {
    Choice choice = Choice::kUnavailable;
    std::string path;
};

void OnResult(void* data, const void* key, Eldbus_Message_Iter* value) {
    auto& answer = *static_cast<Answer*>(data);
    Eldbus_Message_Iter* uris = nullptr;
    const char* uri = nullptr;
    if (std::string(static_cast<const char*>(key)) == "uris" &&
        eldbus_message_iter_arguments_get(value, "as", &uris) &&
        eldbus_message_iter_get_and_next(uris, 's', &uri)) {
        answer.path = PathOfUri(uri);
    }
}

// Handles the answer of the user.
void OnResponse(void* data, const Eldbus_Message* message) {
    auto& answer = *static_cast<Answer*>(data);
    std::uint32_t code = 0;
    Eldbus_Message_Iter* results = nullptr;
    if (eldbus_message_arguments_get(message, "ua{sv}", &code, &results)) {
        eldbus_message_iter_dict_iterate(results, "sv", OnResult, &answer);
        if (code == kAnswered && !answer.path.empty()) {
            answer.choice = Choice::kChosen;
        } else if (code == kCancelledByUser) {
            answer.choice = Choice::kCancelled;
        }
    }
    ecore_main_loop_quit();
}

// Handles the reply to the request. After an error, no response follows.
void OnOpened(void* /*data*/, const Eldbus_Message* message, Eldbus_Pending* /*call*/) {
    if (eldbus_message_error_get(message, nullptr, nullptr)) {
        ecore_main_loop_quit();
    }
}

// Ends the main loop when the portal disappears from the bus.
void OnOwnerChanged(void* /*data*/, const char* /*bus*/, const char* /*before*/,
                    const char* after) {
    if (after == nullptr || after[0] == '\0') {
        ecore_main_loop_quit();
    }
}

void AddTrue(Eldbus_Message_Iter* options, const char* name) {
    Eldbus_Message_Iter* entry = nullptr;
    eldbus_message_iter_arguments_append(options, "{sv}", &entry);
    eldbus_message_iter_basic_append(entry, 's', name);
    Eldbus_Message_Iter* value = eldbus_message_iter_container_new(entry, 'v', "b");
    eldbus_message_iter_basic_append(value, 'b', EINA_TRUE);
    eldbus_message_iter_container_close(entry, value);
    eldbus_message_iter_container_close(options, entry);
}

void SendRequest(Eldbus_Connection* connection, const char* title) {
    Eldbus_Message* message = eldbus_message_method_call_new(kBus, kObject, kChooser, "OpenFile");
    Eldbus_Message_Iter* arguments = eldbus_message_iter_get(message);
    Eldbus_Message_Iter* options = nullptr;
    // No window is the parent of the dialog.
    eldbus_message_iter_arguments_append(arguments, "ssa{sv}", "", title, &options);
    AddTrue(options, "directory");
    eldbus_message_iter_container_close(arguments, options);
    eldbus_connection_send(connection, message, OnOpened, nullptr, -1);
}

Choice Ask(Eldbus_Connection* connection, const char* title, std::string& path) {
    Answer answer;
    // The handler accepts any object path. The portal sends the response only to the caller, and
    // this process has one request.
    Eldbus_Signal_Handler* response = eldbus_signal_handler_add(connection, kBus, nullptr, kRequest,
                                                                "Response", OnResponse, &answer);
    eldbus_name_owner_changed_callback_add(connection, kBus, OnOwnerChanged, nullptr, EINA_FALSE);
    SendRequest(connection, title);
    ecore_main_loop_begin();
    eldbus_name_owner_changed_callback_del(connection, kBus, OnOwnerChanged, nullptr);
    eldbus_signal_handler_del(response);
    path = answer.choice == Choice::kChosen ? answer.path : "";
    return answer.choice;
}

// Without a session bus, Eldbus would start a bus that no program of the desktop uses.
bool HasSessionBus() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    return std::getenv("DBUS_SESSION_BUS_ADDRESS") != nullptr ||
           (folder != nullptr && access((std::string(folder) + "/bus").c_str(), F_OK) == 0);
}

}  // namespace

Choice ChooseFolder(const char* title, std::string& path) {
    if (!HasSessionBus() || eldbus_init() == 0) {
        return Choice::kUnavailable;
    }
    Choice choice = Choice::kUnavailable;
    Eldbus_Connection* connection = eldbus_connection_get(ELDBUS_CONNECTION_TYPE_SESSION);
    if (connection != nullptr) {
        choice = Ask(connection, title, path);
        eldbus_connection_unref(connection);
    }
    eldbus_shutdown();
    return choice;
}

}  // namespace quorvel::dialog
