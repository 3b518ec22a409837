// Symbol visibility of the MOPAC input library: only the public API is exported.
//
// On Windows a DLL exports what its own build marks __declspec(dllexport) and
// its users must see the same names as __declspec(dllimport). The library's
// build defines VESK_MOPAC_BUILDING; a static build of the library, and every
// user of it, defines VESK_MOPAC_STATIC, which leaves the names undecorated.
// Elsewhere the library is compiled with hidden visibility and the API is
// marked visible.
#pragma once

#if defined(VESK_MOPAC_STATIC)
#  define VESK_MOPAC_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#  if defined(VESK_MOPAC_BUILDING)
#    define VESK_MOPAC_API __declspec(dllexport)
#  else
#    define VESK_MOPAC_API __declspec(dllimport)
#  endif
#else
#  define VESK_MOPAC_API __attribute__((visibility("default")))
#endif
