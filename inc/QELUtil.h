#pragma once

#include <initializer_list>
#include <string>

#include "quorvel.h"

// Small helpers that more than one class needs: the file counters, the placing of widgets, and the
// hand-over of strings that the platform or the toolkit allocated. Static members only, no state.
class QELUtil {
public:
    QELUtil() = delete;

    // Adds one to the decimal count in the file at path; a missing file counts as zero. Returns
    // false, with the file left alone and an error line, when the file does not begin with a number
    // that fits an int; true otherwise, also when the file cannot be written. Any thread, but no
    // two at once on one file.
    static bool IncreaseCount(std::string path);

    // The full path of a resource of the set's menu application; empty when the platform has none.
    // Main-loop thread.
    static std::string GetMenuResourcePath(const char* relativePath);

    // text as label markup, so that its markup characters show literally. Main-loop thread.
    static std::string ToMarkup(const std::string& text);

    // Sets the size hints that fill a cell (weight 1.0, align -1.0, both axes) and shows obj.
    static void ShowFilling(Evas_Object* obj);

    // Packs obj into the cell of location, if it is among those that the caller accepts. Returns
    // false with nothing packed otherwise. Main-loop thread.
    static bool PackAt(Evas_Object* table, Evas_Object* obj, app_table_location_e location,
                       std::initializer_list<app_table_location_e> accepted);

    // Deletes the object, if there is one, and clears the pointer. Main-loop thread.
    static void DeleteObject(Evas_Object*& obj);
};
