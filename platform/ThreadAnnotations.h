// Names for clang's thread safety analysis; nothing to any other compiler.
#pragma once

#if defined(__clang__)
#define VELKAR_ANNOTATE(x) __attribute__((x))
#else
#define VELKAR_ANNOTATE(x)
#endif

#define CAPABILITY(x) VELKAR_ANNOTATE(capability(x))
#define SCOPED_CAPABILITY VELKAR_ANNOTATE(scoped_lockable)
#define GUARDED_BY(x) VELKAR_ANNOTATE(guarded_by(x))
#define REQUIRES(...) VELKAR_ANNOTATE(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) VELKAR_ANNOTATE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) VELKAR_ANNOTATE(release_capability(__VA_ARGS__))
#define EXCLUDES(...) VELKAR_ANNOTATE(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS VELKAR_ANNOTATE(no_thread_safety_analysis)
