// What a test must know about the sanitizer that it runs under.

#ifndef SUPPORT_SANITIZERS_H_
#define SUPPORT_SANITIZERS_H_

// The thread sanitizer's own pthread_once does not let exceptions through: the guard stays taken.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool kExceptionsPassOnce = false;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
inline constexpr bool kExceptionsPassOnce = false;
#else
inline constexpr bool kExceptionsPassOnce = true;
#endif
#else
inline constexpr bool kExceptionsPassOnce = true;
#endif

// A sanitizer keeps memory that is freed, and adds to what is taken: tests that measure it do not.
// It also makes all slower, and what it looks for shows in a part of the hosts: comparisons take
// fewer. So they do where another processor is emulated (OSTREL_EMULATED, of script/test-cross).
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(OSTREL_EMULATED)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

#endif  // SUPPORT_SANITIZERS_H_
