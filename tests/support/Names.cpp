// A program may use these names for its own under `using namespace`: no header declares them beside the public ones.

#include "AllHeaders.h"

using namespace vela::vlgim;

class anim {};
class check {};
class clips {};
class diff {};
class io {};
class keys {};
class tracks {};
class Block {};

void Use(anim, check, clips, diff, io, keys, tracks, Block);
