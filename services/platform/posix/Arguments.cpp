#include <platform/Arguments.h>

namespace platform {

char** Arguments(int, char** argv)
{
    return argv;  // any bytes, as the system takes them
}

}  // namespace platform
