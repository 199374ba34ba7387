#pragma once

#include "support/Files.h"
#include "support/MeshBytes.h"

#include <nameid/NameID.h>

namespace vela::vlgim::test {

/// A folder "m" with a whole model, and an empty folder "n" for copies.
class ModelFolder : public FolderTest {
protected:
    ModelFolder()
    {
        for (const auto& [name, content] : kFiles)
            Write("m/" + name, content);
        std::filesystem::create_directories(Path("n/a_gis"));
    }

    static std::uint32_t HashOf(const char* name) { return static_cast<std::uint32_t>(NameIDMurmur3(name)); }

    /// What a save of the model writes over it: the same.
    inline static const std::pair<std::string, std::string> kFiles[] = {
        {"a.gim", "<Vela><SubMesh><a Name='x' MtlIdx='0'/><b Name='y' MtlIdx='0'/></SubMesh></Vela>"},
        {"a.mesh", AsString(MeshOf(0x50004, {1, true, true, true}, true))},
        {"a.mtg", "<Vela><MaterialGroup><m><Material><ParamTable><P Value='1'/></ParamTable></Material></m>"
                  "</MaterialGroup></Vela>"},
        {"a_music.ags", "<Vela/>"},
        {"a.gis",
         AsString(With(SmallGis(true), 94 + 66, ByteBuilder().U32(HashOf("hip")).U32(HashOf("Head"))))},
        {"a.ags", "<Vela/>"},
        {"a_gis/walk.gis", AsString(ClipRecord(0x60001))},
        {"a.track", "VTRK" + AsString(ByteBuilder().U32(0x10001).U16(256).Raw(TrackBlock()))},
    };
};

}  // namespace vela::vlgim::test
