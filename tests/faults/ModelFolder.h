#pragma once

#include "support/Files.h"
#include "support/MeshBytes.h"

#include <nameid/NameID.h>
#include <vlgim/GimData.h>
#include <vlgim/GisData.h>
#include <vlgim/vlTrackData.h>

namespace vela::vlgim::test {

/// All objects of a model whose files have one stem.
struct Model {
    bool Load(const std::string& stem)
    {
        return gim.Load((stem + ".gim").c_str()) == 0 && gis.Load((stem + ".gis").c_str()) == 0 &&
               track.Load((stem + ".track").c_str());
    }

    /// Whether model and skeleton were saved; a save of a track has no result.
    bool Save(const std::string& stem)
    {
        gim.m_meshPath = stem + ".mesh";
        gis.m_anim.m_path = stem + ".gis";
        track.Save((stem + ".track").c_str());
        const bool isModelSaved = gim.Save((stem + ".gim").c_str()) == 0;
        return gis.Save((stem + ".gis").c_str()) == 0 && isModelSaved;
    }

    GimData gim;
    GisData gis;
    vlTrackData track;
};

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
