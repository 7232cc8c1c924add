// Names of the images that the system handles.
#include <algorithm>

#include "moltelib/application.h"

namespace {

constexpr int32_t kMostItems = 10;

// By item; 0 is none. The eighth palm has a name that no item reaches: that is meant.
constexpr const char* kRolled[] = {nullptr,    "R.Thumb",  "R.Index", "R.Middle",
                                   "R.Ring",   "R.Little", "L.Thumb", "L.Index",
                                   "L.Middle", "L.Ring",   "L.Little"};
constexpr const char* kPalms[] = {nullptr,
                                  "R.palm",
                                  "L.palm",
                                  "R.palm four area",
                                  "L.palm four area",
                                  "R.palm thumb lower",
                                  "R.palm thumb upper",
                                  "L.palm thumb lower",
                                  "L.palm thumb upper"};
constexpr int32_t kPalmsReached = 7;
constexpr const char* kPlainGroups[] = {nullptr, "R.plain Thumb", "R.plain four fingers",
                                        "L.plain Thumb", "L.plain four fingers"};
constexpr const char* kPortraits[] = {nullptr, "Front portrait", "Left portrait", "Right portrait"};
constexpr const char* kPlain[] = {nullptr,          "R.plain Thumb", "R.plain Index",
                                  "R.plain Middle", "R.plain Ring",  "R.plain Little",
                                  "L.plain Thumb",  "L.plain Index", "L.plain Middle",
                                  "L.plain Ring",   "L.plain Little"};

}  // namespace

const char* MOLTE_ImagePrtItemName(int32_t nClass, int32_t nItem) {
    if (nItem < 0 || nItem > kMostItems) nItem = 1;
    switch (nClass) {
        case 1:
            return kRolled[nItem];
        case 2:
            return nItem <= kPalmsReached ? kPalms[nItem] : nullptr;
        case 3:
            return kPlainGroups[nItem <= 4 ? nItem : 1];
        case 4:
            return kPortraits[std::min(nItem, 3)];
        case 8:
            return kPlain[nItem];
        default:
            return nullptr;
    }
}
