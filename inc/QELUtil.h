#pragma once

#include <initializer_list>
#include <string>

#include "quorvel.h"

// Helpers of several classes: the file counters, the placing of widgets, and copies of strings that
// the platform or the toolkit allocated. Static members only, no state.
class QELUtil {
public:
    QELUtil() = delete;

    // Adds one to the decimal count in the file at path. A missing file counts as zero. Returns
    // true even when the file cannot be written. Returns false and logs an error when the file is
    // not a regular file or does not begin with a number in the int range; the file stays
    // unchanged. Any thread, but only one thread at a time for one file.
    static bool IncreaseCount(std::string path);

    // Returns the full path of a resource of the set's menu application; empty when the platform
    // returns null. Main-loop thread.
    static std::string GetMenuResourcePath(const char* relativePath);

    // Converts text to label markup that shows text literally. Main-loop thread.
    static std::string ToMarkup(const std::string& text);

    // Sets the size hints that fill a cell (weight 1.0, align -1.0, both axes) and shows obj.
    // Main-loop thread.
    static void ShowFilling(Evas_Object* obj);

    // Packs obj into the cell of location and returns true. Returns false and packs nothing when
    // accepted does not contain the location. Main-loop thread.
    static bool PackAt(Evas_Object* table, Evas_Object* obj, app_table_location_e location,
                       std::initializer_list<app_table_location_e> accepted);

    // Deletes the object and clears the pointer. Does nothing for a null pointer. Main-loop thread.
    static void DeleteObject(Evas_Object*& obj);
};
