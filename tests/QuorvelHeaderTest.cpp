// Tests the record and the numbers that inc/quorvel.h defines.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <vector>

#include "quorvel.h"

namespace {

using testing::ElementsAre;

TEST(QuorvelHeaderTest, KeepsOrderOfRecordFields) {
    const std::size_t offsets[] = {offsetof(_appdata, win),
                                   offsetof(_appdata, table),
                                   offsetof(_appdata, titleLabel),
                                   offsetof(_appdata, itemList),
                                   offsetof(_appdata, itemLabel),
                                   offsetof(_appdata, itemImage),
                                   offsetof(_appdata, detailLabel),
                                   offsetof(_appdata, infoLabelLeft),
                                   offsetof(_appdata, infoLabelRight),
                                   offsetof(_appdata, logCaptureButton)};
    EXPECT_EQ(offsets[0], 0U);
    // No offset is greater than or equal to the next offset.
    EXPECT_EQ(std::adjacent_find(std::begin(offsets), std::end(offsets), std::greater_equal<>()),
              std::end(offsets));
}

TEST(QuorvelHeaderTest, DefinesLocationNumbers) {
    EXPECT_THAT((std::vector<int>{TABLE_LOCATION_TITLE, TABLE_LOCATION_INFO_LEFT,
                                  TABLE_LOCATION_INFO_RIGHT, TABLE_LOCATION_ITEM_LIST,
                                  TABLE_LOCATION_ITEM_VIEW, TABLE_LOCATION_ITEM_DETAIL,
                                  TABLE_LOCATION_LOG_CAPTURE, TABLE_LOCATION_BACKGROUND}),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 9));
    EXPECT_THAT(
        (std::vector<int>{POPUP_LOCATION_LABEL, POPUP_LOCATION_PROGRESS, POPUP_LOCATION_BUTTON}),
        ElementsAre(0, 1, 2));
}

}  // namespace
