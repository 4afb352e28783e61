// A stand-in for the folder chooser of the desktop portal:
//
//     file_chooser CODE [URI]  answers each request with a response code and a URI
//     file_chooser silent      never answers a request
//     file_chooser none        is a portal without a file chooser
//
// Prints "ready" when the portal is on the session bus, and "asked" for each request for a folder.

#include <Ecore.h>
#include <Eldbus.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr const char* kBus = "org.freedesktop.portal.Desktop";
constexpr const char* kRequest = "/org/freedesktop/portal/desktop/request/1/test";

std::string g_Code;
const char* g_Uri = nullptr;

void Print(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

void SendResponse(Eldbus_Connection* connection) {
    Eldbus_Message* signal =
        eldbus_message_signal_new(kRequest, "org.freedesktop.portal.Request", "Response");
    Eldbus_Message_Iter* all = eldbus_message_iter_get(signal);
    Eldbus_Message_Iter* results = nullptr;
    eldbus_message_iter_arguments_append(all, "ua{sv}", std::stoul(g_Code), &results);
    if (g_Uri != nullptr) {
        Eldbus_Message_Iter* entry = nullptr;
        Eldbus_Message_Iter* uris = nullptr;
        eldbus_message_iter_arguments_append(results, "{sv}", &entry);
        eldbus_message_iter_basic_append(entry, 's', "uris");
        Eldbus_Message_Iter* value = eldbus_message_iter_container_new(entry, 'v', "as");
        eldbus_message_iter_arguments_append(value, "as", &uris);
        eldbus_message_iter_basic_append(uris, 's', g_Uri);
        eldbus_message_iter_container_close(value, uris);
        eldbus_message_iter_container_close(entry, value);
        eldbus_message_iter_container_close(results, entry);
    }
    eldbus_message_iter_container_close(all, results);
    eldbus_connection_send(connection, signal, nullptr, nullptr, -1);
}

void OnOption(void* data, const void* key, Eldbus_Message_Iter* value) {
    Eina_Bool flag = EINA_FALSE;
    if (std::string(static_cast<const char*>(key)) == "directory" &&
        eldbus_message_iter_arguments_get(value, "b", &flag)) {
        *static_cast<bool*>(data) = flag != EINA_FALSE;
    }
}

Eldbus_Message* OnOpenFile(const Eldbus_Service_Interface* service, const Eldbus_Message* message) {
    const char* parent = nullptr;
    const char* title = nullptr;
    Eldbus_Message_Iter* options = nullptr;
    bool isFolder = false;
    if (eldbus_message_arguments_get(message, "ssa{sv}", &parent, &title, &options)) {
        eldbus_message_iter_dict_iterate(options, "sv", OnOption, &isFolder);
    }
    if (isFolder) {
        Print("asked");
    }
    Eldbus_Connection* connection = eldbus_service_connection_get(service);
    Eldbus_Message* reply = eldbus_message_method_return_new(message);
    eldbus_message_arguments_append(reply, "o", kRequest);
    eldbus_connection_send(connection, reply, nullptr, nullptr, -1);
    if (g_Code != "silent") {
        SendResponse(connection);
    }
    return nullptr;
}

const Eldbus_Method kMethods[] = {
    {"OpenFile", ELDBUS_ARGS({"s", "parent_window"}, {"s", "title"}, {"a{sv}", "options"}),
     ELDBUS_ARGS({"o", "handle"}), OnOpenFile, 0},
    {nullptr, nullptr, nullptr, nullptr, 0}};

const Eldbus_Service_Interface_Desc kChooser = {
    "org.freedesktop.portal.FileChooser", kMethods, nullptr, nullptr, nullptr, nullptr};

void OnName(void* /*data*/, const Eldbus_Message* /*message*/, Eldbus_Pending* /*call*/) {
    Print("ready");
}

}  // namespace

int main(int argc, char** argv) {
    g_Code = argc > 1 ? argv[1] : "none";
    g_Uri = argc > 2 ? argv[2] : nullptr;
    eldbus_init();
    Eldbus_Connection* connection = eldbus_connection_get(ELDBUS_CONNECTION_TYPE_SESSION);
    if (connection == nullptr) {
        return EXIT_FAILURE;
    }
    if (g_Code != "none") {
        eldbus_service_interface_register(connection, "/org/freedesktop/portal/desktop", &kChooser);
    }
    eldbus_name_request(connection, kBus, 0, OnName, nullptr);
    ecore_main_loop_begin();
    return EXIT_SUCCESS;
}
