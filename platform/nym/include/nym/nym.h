// Umbrella header of the nym2208 library: includes every exported header.
#ifndef NYM_NYM_H
#define NYM_NYM_H

#include "nym/atomic.h"
#include "nym/buffer.h"
#include "nym/counted_ptr.h"
#include "nym/critical.h"
#include "nym/cwstring.h"
#include "nym/date.h"
#include "nym/exception.h"
#include "nym/export.h"
#include "nym/file_access.h"
#include "nym/func_buffer.h"
#include "nym/ibyte_stream.h"
#include "nym/istream.h"
#include "nym/latch.h"
#include "nym/multi_buffer.h"
#include "nym/ostream.h"
#include "nym/path_query.h"
#include "nym/quote.h"
#include "nym/raw_memory_buffer.h"
#include "nym/status.h"
#include "nym/status_arg.h"
#include "nym/stream_helpers.h"
#include "nym/string_basic.h"
#include "nym/string_buffer.h"
#include "nym/sub_buffer.h"
#include "nym/test_clock.h"
#include "nym/time.h"
#include "nym/time_period.h"
#include "nym/time_zone.h"
#include "nym/tokeniser.h"
#include "nym/types.h"
#include "nym/unicode.h"
#include "nym/utf.h"
#include "nym/utf_detect.h"
#include "nym/wstring_buffer.h"

#if defined(_WIN32)
#include "nym/acl.h"
#include "nym/security.h"
#include "nym/security_id.h"
#endif

#endif
