// Names for clang's thread-safety attributes; empty for other compilers.
#pragma once

#if defined(__clang__)
#define ZR_ATTRIBUTE(x) __attribute__((x))
#else
#define ZR_ATTRIBUTE(x)
#endif

#define ZR_CAPABILITY(name) ZR_ATTRIBUTE(capability(name))
#define ZR_SCOPED_CAPABILITY ZR_ATTRIBUTE(scoped_lockable)
#define ZR_GUARDED_BY(mutex) ZR_ATTRIBUTE(guarded_by(mutex))
#define ZR_REQUIRES(...) ZR_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ZR_EXCLUDES(...) ZR_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define ZR_ACQUIRE(...) ZR_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ZR_TRY_ACQUIRE(...) ZR_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define ZR_RELEASE(...) ZR_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ZR_ACQUIRE_SHARED(...) ZR_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define ZR_RELEASE_SHARED(...) ZR_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define ZR_RELEASE_GENERIC(...) ZR_ATTRIBUTE(release_generic_capability(__VA_ARGS__))
#define ZR_RETURN_CAPABILITY(mutex) ZR_ATTRIBUTE(lock_returned(mutex))
#define ZR_NO_ANALYSIS ZR_ATTRIBUTE(no_thread_safety_analysis)
#define ZR_ACQUIRED_AFTER(...) ZR_ATTRIBUTE(acquired_after(__VA_ARGS__))
