#pragma once

/// Marks what libvlgim exports; everything else in it is hidden.
#define VLGIM_API __attribute__((visibility("default")))
