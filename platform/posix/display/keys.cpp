#include "display/keys.h"

#include <algorithm>
#include <iterator>

namespace platform {

namespace {

// Keys whose codes follow one another, as their symbols do.
struct Row {
    unsigned char first;
    unsigned char last;
    unsigned long symbol;
};

constexpr Row kRows[] = {
    {0x08, 0x09, 0xFF08},                        // backspace, tab
    {0x0D, 0x0D, 0xFF0D},                        // enter
    {0x10, 0x10, 0xFFE1},                        // shift
    {0x11, 0x11, 0xFFE3},                        // control
    {0x12, 0x12, 0xFFE9},                        // alt
    {0x13, 0x13, 0xFF13},                        // pause
    {0x14, 0x14, 0xFFE5},                        // caps lock
    {0x1B, 0x1B, 0xFF1B},                        // escape
    {0x20, 0x20, ' '},    {0x21, 0x22, 0xFF55},  // page up, page down
    {0x23, 0x23, 0xFF57},                        // end
    {0x24, 0x28, 0xFF50},                        // home, left, up, right, down
    {0x2C, 0x2C, 0xFF61},                        // print screen
    {0x2D, 0x2D, 0xFF63},                        // insert
    {0x2E, 0x2E, 0xFFFF},                        // delete
    {'0', '9', '0'},      {'A', 'Z', 'a'},      {0x5B, 0x5C, 0xFFEB},  // the two with the flag
    {0x5D, 0x5D, 0xFF67},                                              // menu
    {0x60, 0x69, 0xFFB0},                                              // digits of the number pad
    {0x6A, 0x6F, 0xFFAA},                                              // its signs
    {0x70, 0x87, 0xFFBE},                                              // F1 to F24
    {0x90, 0x90, 0xFF7F},                                              // num lock
    {0x91, 0x91, 0xFF14},                                              // scroll lock
    {0xA0, 0xA3, 0xFFE1},  // left and right shift, left and right control
    {0xA4, 0xA5, 0xFFE9},  // left and right alt
    {0xBA, 0xBA, ';'},    {0xBB, 0xBB, '='},    {0xBC, 0xBF, ','},  // , - . /
    {0xC0, 0xC0, '`'},    {0xDB, 0xDD, '['},                        // [ \ ]
    {0xDE, 0xDE, '\''},
};

}  // namespace

unsigned long symbol_of_key(unsigned char virtual_key) {
    const Row* const row =
        std::find_if(std::begin(kRows), std::end(kRows), [virtual_key](const Row& keys) {
            return virtual_key >= keys.first && virtual_key <= keys.last;
        });
    return row != std::end(kRows) ? row->symbol + (virtual_key - row->first) : 0;
}

}  // namespace platform
