/**
   @file
   The library as a module of its host.

   A host obtains the descriptor with pcmModule, calls its `startup` once before anything else and its `shutdown` once
   after everything else. Neither may overlap with any other call into the library.

   @since 1.0
*/
#ifndef PCM_MODULE_H
#define PCM_MODULE_H

#include <pcm/pcm_base.h>

PCM_EXTERN_C_BEGIN

/** Returns the module descriptor, pcm___module, which is never retained or released. May be called at any time. */
PCM_API PB_MODULE *pcmModule(void);

/** @name For the product's own modules
    @{ */
/** The module descriptor: static, never retained or released. */
PCM_API extern PB_MODULE pcm___module;
/** The module's names, version, build time and vendor. */
PCM_API extern PB_MODULE_RECORD pcm___module_record;
/** Makes the library's constant objects, in the order in which they need each other. Returns 1. */
PCM_API pbBool pcm___ModuleStartup(void);
/** Gives them up in the reverse order; the globals that held an object then hold the all-ones value. */
PCM_API void pcm___ModuleShutdown(void);
/** @} */

/**
   Says which instruction set the loops over samples run on: "base", "neon", "avx2" or "avx512". For reports of speed;
   all sets give the same bits. May be called at any time.

   @return a constant
*/
PCM_API const char *pcm___ModuleIsa(void);

PCM_EXTERN_C_END

#endif
