#pragma once

// Marks a kernel that is compiled once for every x86-64 and once for processors with 256-bit vectors; the loader
// picks one. With contraction off both give the same bits. The thread sanitizer can't start programs with clones.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__)
#    if defined(__has_feature)
#        if __has_feature(thread_sanitizer)
#            define TAVEL_CLONES
#        endif
#    endif
#    ifndef TAVEL_CLONES
#        define TAVEL_CLONES __attribute__((target_clones("default", "avx2")))
#    endif
#else
#    define TAVEL_CLONES
#endif
