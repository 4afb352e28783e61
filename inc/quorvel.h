// Common definitions: the shared widget record, the named table cells, the result types and the log
// macros.
#pragma once

#include <Evas.h>
#include <dlog.h>

// The widgets that the views share. main creates the only record, zero-filled. Every view and, as
// data, every event handler of a widget receives the record. Create and Destroy log an error and do
// nothing when the record is null. The record owns nothing: the class that sets a field also
// deletes the widget and clears the field. Main-loop thread only.
struct _appdata {
    Evas_Object* win;
    Evas_Object* table;
    Evas_Object* titleLabel;
    Evas_Object* itemList;
    Evas_Object* itemLabel;
    Evas_Object* itemImage;
    Evas_Object* detailLabel;
    Evas_Object* infoLabelLeft;
    Evas_Object* infoLabelRight;
    Evas_Object* logCaptureButton;
};

// The named cells of the main layout table of 3 columns by 8 rows. QELUtil::PackAt maps them to
// columns and rows. 0 and 8 name no cell; every view rejects them.
enum app_table_location_e : int {
    TABLE_LOCATION_TITLE = 1,
    TABLE_LOCATION_INFO_LEFT = 2,
    TABLE_LOCATION_INFO_RIGHT = 3,
    TABLE_LOCATION_ITEM_LIST = 4,
    TABLE_LOCATION_ITEM_VIEW = 5,
    TABLE_LOCATION_ITEM_DETAIL = 6,
    TABLE_LOCATION_LOG_CAPTURE = 7,
    TABLE_LOCATION_BACKGROUND = 9,
};

// The cells of the popup's own table.
enum app_popup_location_e : int {
    POPUP_LOCATION_LABEL = 0,
    POPUP_LOCATION_PROGRESS = 1,
    POPUP_LOCATION_BUTTON = 2,
};

// The type of an item, from its "type" value.
enum app_result_type_e : int {
    RESULT_TYPE_INVALID = -1,
    RESULT_TYPE_BT = 0,
    RESULT_TYPE_WIFI = 1,
    RESULT_TYPE_APP = 2,
    RESULT_TYPE_RNSC = 3,
    RESULT_TYPE_IMAGE = 4,
};

// Returns the file name in path, without the folder. The result points into path.
constexpr const char* QelFileName(const char* path) {
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '/') {
            name = c + 1;
        }
    }
    return name;
}

// The format of a log line. Each line is written under the tag "QEL" in the form
//
//     FILE: FUNCTION(LINE) > MESSAGE\n
//
// with the name of the source file, the function and the line that writes it. Information lines go
// to the buffer LOG_ID_MAIN at DLOG_INFO, error lines to LOG_ID_SYSTEM at DLOG_ERROR; no other
// combination exists. The line of a message that ends with a line feed ends with two line feeds.
// Any thread.
#define QEL_LOG(buffer, priority, format, ...)                                                \
    __dlog_print(buffer, priority, "QEL", "%s: %s(%d) > " format "\n", QelFileName(__FILE__), \
                 __func__, __LINE__, ##__VA_ARGS__)
#define QEL_LOGI(format, ...) QEL_LOG(LOG_ID_MAIN, DLOG_INFO, format, ##__VA_ARGS__)
#define QEL_LOGE(format, ...) QEL_LOG(LOG_ID_SYSTEM, DLOG_ERROR, format, ##__VA_ARGS__)
