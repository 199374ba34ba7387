#pragma once

#include <version>

#if !defined(__cpp_concepts) || !defined(__cpp_lib_span) || !defined(__cpp_lib_to_chars) ||                  \
    (defined(_GLIBCXX_RELEASE) && _GLIBCXX_RELEASE < 12)
#error "vlgim needs a C++20 compiler and standard library: g++ 12, clang++ 14 with libstdc++ 12, or newer"
#endif

/// Marks what the library exports. Programs that link the static library have to define VLGIM_STATIC; CMake and
/// pkg-config do this for them.
#if defined(VLGIM_STATIC)
#define VLGIM_API
#elif defined(_WIN32) && defined(VLGIM_BUILDING)
#define VLGIM_API __declspec(dllexport)
#elif defined(_WIN32)
#define VLGIM_API __declspec(dllimport)
#else
#define VLGIM_API __attribute__((visibility("default")))
#endif

/// Marks what is declared inside an exported class but is not exported with it.
#if defined(__GNUC__) && !defined(_WIN32)
#define VLGIM_HIDDEN __attribute__((visibility("hidden")))
#else
#define VLGIM_HIDDEN
#endif

/// Marks a function that takes a printf format. Both numbers count parameters from 1: format_at is the format, first is
/// the first value.
#if defined(__GNUC__)
#define VLGIM_PRINTF(format_at, first) __attribute__((format(printf, format_at, first)))
#else
#define VLGIM_PRINTF(format_at, first)
#endif
