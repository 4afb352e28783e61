#include "QELUtil.h"

#include <Elementary.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <tv_services.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <memory>
#include <system_error>

namespace {

const char* const kMenuAppId = "org.tizen.menu";
const int kMaxWordBytes = 4096;  // longer than any int

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};
using MallocString = std::unique_ptr<char, FreeDeleter>;

std::string CopyOrEmpty(const MallocString& text) {
    return text ? std::string(text.get()) : std::string();
}

struct TableCell_s {
    app_table_location_e location;
    int column;
    int row;
    int columns;
    int rows;
};

// Intentional: the cells overlap. The background covers the whole table, the title row covers all
// columns, and the detail panel covers the lower part of the item view.
const TableCell_s kTableCells[] = {
    {TABLE_LOCATION_TITLE, 0, 0, 3, 1},       {TABLE_LOCATION_INFO_LEFT, 1, 1, 1, 2},
    {TABLE_LOCATION_INFO_RIGHT, 2, 1, 1, 2},  {TABLE_LOCATION_ITEM_LIST, 0, 1, 1, 7},
    {TABLE_LOCATION_ITEM_VIEW, 1, 1, 2, 6},   {TABLE_LOCATION_ITEM_DETAIL, 1, 3, 2, 4},
    {TABLE_LOCATION_LOG_CAPTURE, 1, 7, 1, 1}, {TABLE_LOCATION_BACKGROUND, 0, 0, 3, 8},
};

// Returns value plus one. The largest int is followed by the smallest; the addition is unsigned
// because signed overflow is undefined.
int NextCount(int value) {
    return static_cast<int>(static_cast<unsigned int>(value) + 1U);
}

// Returns the first word of the file; empty when the file has no word or is not a regular file. The
// type is checked first because opening a FIFO would block.
std::string ReadFirstWord(const std::string& path) {
    struct stat status {};
    std::string word;
    if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        std::ifstream in(path);
        in >> std::setw(kMaxWordBytes) >> word;
    }
    return word;
}

// Replaces the content of the file. The file can be longer than line for a moment, but is never
// empty.
void Overwrite(const std::string& path, const std::string& line) {
    std::fstream(path, std::ios::in | std::ios::out) << line;
    std::error_code ignored;
    std::filesystem::resize_file(path, line.size(), ignored);
}

// Writes a temporary file and renames it to path, so that the file never exists without its
// content. A failure leaves no file.
void CreateWith(const std::string& path, const std::string& line) {
    const std::string unfinished = path + ".new";
    unlink(unfinished.c_str());
    const int file = open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) {
        return;
    }
    const bool isWritten =
        write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    close(file);
    if (!isWritten || std::rename(unfinished.c_str(), path.c_str()) != 0) {
        unlink(unfinished.c_str());
    }
}

}  // namespace

bool QELUtil::IncreaseCount(std::string path) {
    int count = 1;
    const bool exists = access(path.c_str(), F_OK) == 0;
    if (exists) {
        try {
            count = NextCount(std::stoi(ReadFirstWord(path)));
        } catch (const std::exception&) {
            QEL_LOGE("failed to get data");
            return false;
        }
    }
    // Intentional: a failed write is not reported.
    const std::string line = std::to_string(count) + "\n";
    if (exists) {
        Overwrite(path, line);
    } else {
        CreateWith(path, line);
    }
    return true;
}

std::string QELUtil::GetMenuResourcePath(const char* relativePath) {
    return CopyOrEmpty(MallocString(getResourcePath(kMenuAppId, relativePath)));
}

std::string QELUtil::ToMarkup(const std::string& text) {
    return CopyOrEmpty(MallocString(evas_textblock_text_utf8_to_markup(nullptr, text.c_str())));
}

void QELUtil::ShowFilling(Evas_Object* obj) {
    evas_object_size_hint_weight_set(obj, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    evas_object_size_hint_align_set(obj, EVAS_HINT_FILL, EVAS_HINT_FILL);
    evas_object_show(obj);
}

bool QELUtil::PackAt(Evas_Object* table, Evas_Object* obj, app_table_location_e location,
                     std::initializer_list<app_table_location_e> accepted) {
    if (std::find(accepted.begin(), accepted.end(), location) == accepted.end()) {
        return false;
    }
    for (const TableCell_s& cell : kTableCells) {
        if (cell.location == location) {
            elm_table_pack(table, obj, cell.column, cell.row, cell.columns, cell.rows);
            return true;
        }
    }
    return false;
}

void QELUtil::DeleteObject(Evas_Object*& obj) {
    if (obj != nullptr) {
        evas_object_del(obj);
        obj = nullptr;
    }
}
