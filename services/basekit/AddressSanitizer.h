#pragma once

// Defined under AddressSanitizer, which needs to know where each block and array ends.
#if defined(__SANITIZE_ADDRESS__)
#define VLGIM_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VLGIM_ADDRESS_SANITIZER 1
#endif
#endif
