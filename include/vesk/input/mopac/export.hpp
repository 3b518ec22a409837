// Symbol visibility of the MOPAC input library: only the public API is exported.
#pragma once

#if defined(_WIN32)
#  define VESK_MOPAC_API
#else
#  define VESK_MOPAC_API __attribute__((visibility("default")))
#endif
