#include "support/scenes.h"

namespace {

using TextObject = InFolder;

char field[8];

[[maybe_unused]] const bool plays = play_scenes<TextObject>(
    "TextObject", TEST_ROWS,
    {{"make", step_of<OXSTR_STROBJ_Init>},
     {"free", step_of<OXSTR_STROBJ_Free>},
     {"ensure", step_of<OXSTR_STROBJ_EnsureFreeSizeIs>},
     {"append", step_of<OXSTR_STROBJ_Append>},
     {"empty", step_of<OXSTR_STROBJ_Empty>},
     {"print", step_of<[](OXSTR_STROBJ* object, Text text) {
          return OXSTR_STROBJ_Printf(object, "%s", text);
      }>},
     {"print_number", step_of<[](OXSTR_STROBJ* object, int32_t width, int32_t number) {
          return OXSTR_STROBJ_Printf(object, "%*d;%5.2f", width, number, number / 2.0);
      }>},
     // No character of the "C" locale.
     {"print_wide", step_of<[](OXSTR_STROBJ* object) {
          const wchar_t outside[] = {0x4E00, 0};
          return OXSTR_STROBJ_Printf(object, "ab%ls", outside);
      }>},
     {"fill", step_of<[](OXSTR_STROBJ* object, int32_t length) {
          memset(object->pBuf, 'h', static_cast<size_t>(length));
          return object->nLen = length;
      }>},
     {"use_field", step_of<[](OXSTR_STROBJ* object, Text text, int32_t length) {
          *object = {strcpy(field, text), length, sizeof field, 0, 0, {}};
          return 1;
      }>},
     {"claim", step_of<[](OXSTR_STROBJ* object, int32_t size) {
          *object = {field, size, size, 1, 0, {}};
          return 1;
      }>},
     {"record", step_of<[](OXSTR_STROBJ* object) {
          return std::to_string(object->nLen) + " of " + std::to_string(object->nCapacity) +
                 (object->bCanGrow != 0 ? " grows " : " ") + std::to_string(object->bOption) +
                 (object->pBuf == nullptr ? " none"
                  : object->pBuf == field ? " field"
                                          : "");
      }>},
     {"text", step_of<[](OXSTR_STROBJ* object) { return std::string(object->pBuf); }>},
     {"zero_behind", step_of<[](OXSTR_STROBJ* object) {
          return std::all_of(object->pBuf + object->nLen, object->pBuf + object->nCapacity,
                             [](char c) { return c == 0; });
      }>}});

}  // namespace
