// The wide-call helper's former name, kept for tests that still include it; new code includes
// base/win32_wide.h.
#ifndef NYM_SYSTEM_WIN32_WIDE_H
#define NYM_SYSTEM_WIN32_WIDE_H

#include "base/win32_wide.h"

#endif
