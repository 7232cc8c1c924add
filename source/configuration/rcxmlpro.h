// XML string resources: every text that the library shows by number, from one file per language
// under the main path:
//
//     MainPath\resource\zh\cn\moltelibrc_zh.xml
//
//     <ORVEX_RESOURCE version="1.0" langid="804">
//       <STRINGTABLE>
//         <ITEM id="20" strid="ERR_20" value="out of memory"/>
//         <ITEM id="21"><STRDATA>a longer text</STRDATA></ITEM>
//       </STRINGTABLE>
//     </ORVEX_RESOURCE>
//
// Names of elements and attributes are compared without regard to case. A fault inside a file is
// left in the error history and the rest of the file is used. Texts are kept in the process's code
// page. Loading runs on the thread of bring-up; RCXML_GetString may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace molte {

// ---- Records ----

// A language that may have a folder.
struct RC_LANG {
    char szLang[8];    // folder, and suffix of the file name
    char szLocale[8];  // folder in it
    uint16_t nLCID;    // the platform's locale id
    uint8_t bNeutral;  // stands for the language as a whole
    uint8_t abyReserved[5];
};
static_assert(sizeof(RC_LANG) == 24);

// A text. While it is shorter than abyText it stays in the record.
struct RC_STRING {
    char szStrId[32];
    uint32_t nId;  // the sort key
    int32_t nLen;
    uint8_t bHeap;      // abyText begins with a pointer to the text
    uint8_t bOwned;     // which must be freed
    int32_t nCapacity;  // size of the heap block
    char abyText[80];
};
static_assert(sizeof(RC_STRING) == 128 && offsetof(RC_STRING, abyText) == 48);

struct RC_TABLE {
    RC_STRING* pItems;  // sorted by nId
    int32_t nCount;
    int32_t nLangId;  // what the file says
    uint8_t bOwned;   // all this and the texts must be freed
};

// ---- The loaded resource ----

// Loads the texts of DEF_LANG_ID, or of the user's language; of Chinese where there is no file of
// that. SETS THE LOCALE OF THE PROCESS to that language. 1 when texts are loaded, else -1.
int32_t RCXML_Init();

// Frees all texts; 1.
int32_t RCXML_Release();

// The text, owned by the table; null when nothing is loaded or there is no such number.
const char* RCXML_GetString(uint32_t id);

// ---- Languages and their files ----

// Makes the language table ready and the main path known: 28, the rows, and 1 on later calls.
int32_t RCXML_LangTable();

// The rows of a locale id and of its language as a whole (lcid & 0x3FF), null where there is none,
// and the same one where both are equal. 1, or -1 when there is neither.
int32_t RCXML_FindLang(uint32_t lcid, const RC_LANG** exact, const RC_LANG** neutral);

// Sets the process's locale to "chs", "esp" or "us"; 1, or -1 with error 134.
int32_t RCXML_SetLocale(uint32_t lcid);

// Writes the name of a file that exists into path; -1 when there is none. A locale folder given by
// the caller comes before the language's own; it may be null or empty.
constexpr size_t kResourcePathSize = 512;
int32_t RCXML_BuildPath(char (&path)[kResourcePathSize], uint32_t lcid, const char* locale);

// ---- Files ----

// Both fill the table, which holds nothing before; 1, or -1 and the table is empty. A length below
// 1 stands for that of the terminated text.
int32_t RCXML_LoadFile(RC_TABLE& table, const char* path);
int32_t RCXML_ParseBuffer(RC_TABLE& table, const char* text, int32_t length);

void free_table(RC_TABLE& table);
void free_strings(RC_STRING* strings, int32_t count);

// ---- Texts of records ----

const char* text_of(const RC_STRING& string);

// Sets the text, or adds to it; 1, or -1 with the history.
int32_t set_text(RC_STRING& string, const char* text, int32_t length);
int32_t add_text(RC_STRING& string, const char* text, int32_t length);

// The record has an empty text then.
void free_text(RC_STRING& string);

}  // namespace molte
