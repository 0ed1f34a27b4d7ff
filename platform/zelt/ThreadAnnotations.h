#pragma once

// Clang's thread-safety annotations under short names; empty for other compilers.

#if defined(__clang__)
#define ZELT_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZELT_THREAD_ANNOTATION(x)
#endif

#define ZELT_CAPABILITY(name) ZELT_THREAD_ANNOTATION(capability(name))
#define ZELT_SCOPED_CAPABILITY ZELT_THREAD_ANNOTATION(scoped_lockable)
#define ZELT_GUARDED_BY(mutex) ZELT_THREAD_ANNOTATION(guarded_by(mutex))
#define ZELT_REQUIRES(...) ZELT_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZELT_EXCLUDES(...) ZELT_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZELT_ACQUIRE(...) ZELT_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZELT_RELEASE(...) ZELT_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZELT_RETURN_CAPABILITY(mutex) ZELT_THREAD_ANNOTATION(lock_returned(mutex))
#define ZELT_NO_ANALYSIS ZELT_THREAD_ANNOTATION(no_thread_safety_analysis)
