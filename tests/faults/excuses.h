// What a call may do beside its work and telling its error, because the interface says so.
#pragma once

#include "faults.h"

inline const Excuse kKeysReadUntilThen{"MOLTE_LoadKeyList gives fewer keys",
                                       "when memory is out the keys read until then are the list"};
inline const Excuse kNoBlockNoRecord{"MOLTE_THDATA_GetData, or what needs it, tells no error",
                                     "it is the error record that is missing"};
inline const Excuse kTraceStaysShort{"a call trace lacks entries",
                                     "pushes that found no memory stand in no entry"};
inline const Excuse kSharedRecord{"an error can't be had",
                                  "threads without a block share a record until they get one"};
inline const Excuse kLogEntryLost{"an entry isn't in the text error log",
                                  "a log that can't be written never makes its caller fail"};
inline const Excuse kLogEntryCut{"an entry in the text error log isn't whole",
                                 "one with too little room, in memory or on the disk, is cut"};
inline const Excuse kTurnsOverLater{"a growing file isn't turned over",
                                    "always 1; the next entry tries again"};
inline const Excuse kBinaryEntryLost{"an entry isn't in the binary error log",
                                     "BERRLOG_AddLog gives 0, also after a failure"};
inline const Excuse kPrintingNeverFails{"a hook has not got a text",
                                        "printing never fails: the results of hooks are ignored"};
inline const Excuse kNullItems{"ox_strsplit gives null items or fewer",
                               "when memory runs out later the array comes back with its count"};
inline const Excuse kNewIdentity{"ORVEX_PARAMETER_GetServerID makes a new identity",
                                 "it does when the old one can't be read, and tells it by 2"};
inline const Excuse kExchangedInSteps{
    "a file that was to be exchanged stands under its third name",
    "names are exchanged in three steps, the second name between"};
inline const Excuse kCopyMayFail{"ORVEX_HFILE_DupFile makes no copy",
                                 "0 whether the copy worked or not: the error record tells"};
inline const Excuse kSavedTextUnchecked{"ORVEX_SaveTextDataToFile saves a part",
                                        "how much could be written isn't looked at"};
inline const Excuse kUnreadFolderCounts0{"ORVEX_DiskUsedInDir leaves out a folder",
                                         "a folder that can't be walked counts 0"};
inline const Excuse kNoMatchWithoutMemory{"ORVEX_WildMatch misses a match",
                                          "a pattern of more than 63 \".\" takes some memory"};
inline const Excuse kThreadCallGives1{"ORVEX_CreateThread gives 1 and no thread",
                                      "always 1: the null handle and error 277 tell"};
inline const Excuse kNoFuzzyOptions{"MOLTE_HZPY_Init finds no options",
                                    "they need not be there: what can't be read is zero"};
inline const Excuse kLanguageByDefault{"OXLANG_LID_Init sets the language 0",
                                       "DEF_LANG_ID counts as absent where it can't be read"};
inline const Excuse kWrittenInPlace{"a parameter file is torn",
                                    "by death, or a disk that refuses the old content as well"};
inline const Excuse kEmptiedFirst{"a file that is saved or copied to is torn or gone",
                                  "it is emptied when it is opened"};
inline const Excuse kOptionsCut{"HZFUZZY.DAT is cut",
                                "it is reset in place, and a short one is no options"};
inline const Excuse kBringUpGoesOn{"a parameter or a name of the program isn't set at bring-up",
                                   "what can't be read costs that alone, and stays in the record"};
