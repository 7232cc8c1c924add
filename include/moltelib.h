/* moltelib: every family in one include. */
#ifndef MOLTELIB_H
#define MOLTELIB_H

#include "moltelib/application.h"
#include "moltelib/array.h"
#include "moltelib/base.h"
#include "moltelib/error.h"
#include "moltelib/memory.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/state.h"
#include "moltelib/system_info.h"
#include "moltelib/text.h"
#include "moltelib/thread_data.h"
#include "moltelib/thread_list.h"

#endif
