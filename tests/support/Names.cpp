// A program may use these names for its own under `using namespace`: no header declares them beside the public ones.

#include "AllHeaders.h"

using namespace vela::vlgim;

namespace anim {
struct Own {};
}  // namespace anim
namespace check {
struct Own {};
}  // namespace check
namespace clips {
struct Own {};
}  // namespace clips
namespace diff {
struct Own {};
}  // namespace diff
namespace io {
struct Own {};
}  // namespace io
namespace keys {
struct Own {};
}  // namespace keys
namespace tracks {
struct Own {};
}  // namespace tracks
class Block {};

struct Program {
    anim::Own anim;
    check::Own check;
    clips::Own clips;
    diff::Own diff;
    io::Own io;
    keys::Own keys;
    tracks::Own tracks;
    Block block;
};
