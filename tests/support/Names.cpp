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

struct Program {
    anim a;
    check b;
    clips c;
    diff d;
    io e;
    keys f;
    tracks g;
    Block h;
};
