/* moltelib: every family in one include. */
#ifndef MOLTELIB_H
#define MOLTELIB_H

#include "moltelib/application.h"
#include "moltelib/array.h"
#include "moltelib/base.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "moltelib/memory.h"
#include "moltelib/number_text.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/state.h"
#include "moltelib/system_info.h"
#include "moltelib/text.h"
#include "moltelib/text_convert.h"
#include "moltelib/text_edit.h"
#include "moltelib/text_object.h"
#include "moltelib/text_search.h"
#include "moltelib/text_split.h"
#include "moltelib/thread_data.h"
#include "moltelib/thread_list.h"
#include "moltelib/utf8.h"

#endif
