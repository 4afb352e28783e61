// The common header: the shared widget record, the named table cells, the result types and the log.
#pragma once

#include <Evas.h>
#include <dlog.h>

// The widgets that the views share. One instance exists: main zero-fills it, every UI class gets
// it, and it is the data of every widget callback. It owns nothing: each field is deleted and
// cleared by the class that set it. Main-loop thread only.
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

// The named cells of the main layout table of 3 columns by 8 rows; QELUtil::PackAt knows where each
// lies. 0 and 8 name no cell and are refused by every view.
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

// What kind of test a failed item was.
enum app_result_type_e : int {
    RESULT_TYPE_INVALID = -1,
    RESULT_TYPE_BT = 0,
    RESULT_TYPE_WIFI = 1,
    RESULT_TYPE_APP = 2,
    RESULT_TYPE_RNSC = 3,
    RESULT_TYPE_IMAGE = 4,
};

// The file name in a path, without the folder; points into path.
constexpr const char* QelFileName(const char* path) {
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '/') {
            name = c + 1;
        }
    }
    return name;
}

// One line to the platform log, with the place that wrote it. Any thread. Only two spellings exist:
// information to the main buffer and errors to the system buffer. A message that brings a line feed
// of its own is followed by a second one.
#define QEL_LOG(buffer, priority, format, ...)                                                \
    __dlog_print(buffer, priority, "QEL", "%s: %s(%d) > " format "\n", QelFileName(__FILE__), \
                 __func__, __LINE__, ##__VA_ARGS__)
#define QEL_LOGI(format, ...) QEL_LOG(LOG_ID_MAIN, DLOG_INFO, format, ##__VA_ARGS__)
#define QEL_LOGE(format, ...) QEL_LOG(LOG_ID_SYSTEM, DLOG_ERROR, format, ##__VA_ARGS__)
