#!/usr/bin/env bash
# Nothing outside of services/platform/ knows which system this is. Usage: platform_test.sh ROOT_OF_THE_SOURCES
set -euo pipefail
cd "$1"

systems='(unistd|fcntl|signal|dirent|termios|pthread|poll|spawn|dlfcn|cpuid|intrin|immintrin|io|direct|process|windows|winsock2)\.h|csignal|(sys|linux|mach|net|netinet|arpa)/'
names='\b(fopencookie|funopen|fmemopen|open_memstream|fseeko|ftello|fileno|isatty|setvbuf|ssize_t|off_t|off64_t|mode_t|pid_t)\b|__builtin_|__attribute__|__declspec'

found=$(grep -rnE "^ *# *include *[<\"]($systems)|$names" include src services tools --include='*.h' --include='*.cpp' |
    grep -v -e '^services/platform/' -e '^include/vlgim/Export\.h:' || true)
[ -z "$found" ] || { echo "FAILED: this belongs into services/platform/"; echo "$found"; exit 1; }

# The search finds what it looks for.
[ "$(grep -rlE "^ *# *include *[<\"]($systems)|$names" services/platform | wc -l)" -ge 4 ] ||
    { echo "FAILED: services/platform/ itself includes nothing of the system"; exit 1; }
