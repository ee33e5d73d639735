// Export macro of the nym2208 library and the basic types every header uses.
//
// NYM_API marks what the DLL exports: classes, free functions and the exported constants.
// The host build is a static library (NYM_STATIC) and needs no decoration.
#ifndef NYM_EXPORT_H
#define NYM_EXPORT_H

#if defined(NYM_STATIC)
#define NYM_API
#elif defined(_WIN32)
#if defined(NYM_BUILDING_DLL)
#define NYM_API __declspec(dllexport)
#else
#define NYM_API __declspec(dllimport)
#endif
#else
#define NYM_API __attribute__((visibility("default")))
#endif

#endif
