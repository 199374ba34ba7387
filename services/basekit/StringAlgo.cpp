#include <basekit/StringAlgo.h>

namespace kit {

void StringAlgo::ToLower(char* text)
{
    for (; *text; ++text)
        if (*text >= 'A' && *text <= 'Z')
            *text = static_cast<char>(*text - 'A' + 'a');
}

}  // namespace kit
