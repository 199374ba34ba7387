#include "Input.h"
#include "RoundTrip.h"
#include "Runtime.h"

#include <mesh/MeshBlocks.h>

#include <vlgim/GimData.h>

#include <tinyxml2.h>

// An input is a manifest, a mesh, a material group and a music document; one that is empty is missing.
namespace vela::vlgim::fuzz {

namespace {

const char* const kNames[] = {"a.gim", "a.mesh", "a.mtg", "a_music.ags"};

const Folder& TheFolder()
{
    static const Folder folder;
    return folder;
}

std::string Base()
{
    return TheFolder().Path("");
}

int Load(GimData& model, const std::vector<Bytes>& files)
{
    std::size_t size = 0;
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        TheFolder().Remove(kNames[i]);
        if (i >= files.size() || files[i].empty())
            continue;
        TheFolder().Put(kNames[i], files[i]);
        size += files[i].size();
    }
    return WithinBudget(size, [&] { return model.Load(TheFolder().Path("a.gim").c_str(), Base().c_str()); });
}

// Whether all that a save replaces lies in the folder.
bool StaysInFolder(const GimData& model)
{
    const tinyxml2::XMLElement* file = model.m_gimXml.FindElement("Vela/MtgFile", nullptr);
    const char* materials = file ? file->Attribute("MtgPath") : nullptr;
    const auto leads = [](const std::string& path) { return path.find("..") != std::string::npos; };
    return model.m_meshPath.compare(0, Base().size(), Base()) == 0 && !leads(model.m_meshPath) &&
           (!materials || !leads(materials));
}

std::string Printed(vlio::XmlData& xml)
{
    tinyxml2::XMLPrinter printer(nullptr, true);
    xml.Document().Print(&printer);
    return printer.CStr();
}

// A document that was changed is printed; what reads back has to be the same.
void CheckEdited(vlio::XmlData& xml)
{
    if (xml.IsEmpty())
        return;
    xml.Document().RootElement()->SetAttribute("Edited", "a\n\"b\" & 'c'");
    const std::string path = TheFolder().Path("edited");
    vlio::XmlData again;
    if (xml.Save(path.c_str()) != 0)
        return;
    const int result = again.Load(path.c_str());
    TheFolder().Remove("edited");
    Check(result == 0, "a document that was printed can't be read");
    Check(Printed(again) == Printed(xml), "a document that was printed reads otherwise");
}

std::vector<Bytes> Files()
{
    std::vector<Bytes> files;
    for (const char* name : kNames)
        files.push_back(TheFolder().Get(name));
    return files;
}

// A save puts every document back as it was; the mesh is written in the newest form.
void CheckSaves(GimData& model, int result, const std::vector<Bytes>& input)
{
    const std::string path = TheFolder().Path("a.gim");
    const Image before = ImageOf(model.m_mesh);
    const int saved = model.Save(path.c_str(), Base().c_str());
    if (saved != 0)  // two of the files are one
        return Check(model.m_gimXml.FindElement("Vela/MtgFile", nullptr) ||
                         model.m_gimXml.GetElement("Vela", nullptr)->Attribute("Mesh"),
                     "a model that was loaded can't be saved");
    const std::vector<Bytes> first = Files();
    Check(first[0] == input[0], "the manifest has changed");

    GimData again;
    Check(again.Load(path.c_str(), Base().c_str()) == result, "a model that was saved loads otherwise");
    ExpectKept(before, ImageOf(model.m_mesh));
    ExpectSame(ImageOf(model.m_mesh), ImageOf(again.m_mesh), "a model that was saved and loaded");
    Check(Printed(again.m_mtgXml) == Printed(model.m_mtgXml), "the material group has changed");
    Check(Printed(again.m_musicXml) == Printed(model.m_musicXml), "the music has changed");
    Check(again.m_submeshes.size() == model.m_submeshes.size(), "the number of submesh records has changed");
    Check(again.m_materials.size() == model.m_materials.size(), "the number of materials has changed");
    Check(again.Save(path.c_str(), Base().c_str()) == 0, "a model that was saved can't be saved again");
    Check(Files() == first, "a second save gives other files");
}

}  // namespace

}  // namespace vela::vlgim::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vela::vlgim;
    const std::vector<fuzz::Bytes> files = fuzz::SplitFiles(data, size);
    GimData model;
    const int result = fuzz::Load(model, files);
    const bool hasMesh = result == 0 || result == -1;
    fuzz::Check(hasMesh == (model.m_mesh.m_vertexData != nullptr), "the result does not tell of the mesh");
    fuzz::Check(result <= 1 || model.m_gimXml.IsEmpty(), "a failed load leaves a manifest");
    model.GetSkeletonName();
    if (hasMesh) {
        GimData again;
        fuzz::Load(again, files);
        fuzz::CheckDifferences(model, again);
    }
    // As large as the memory bound allows, without bytes behind it.
    if (hasMesh && mesh::WrittenSize(*model.m_mesh.m_vertexData) <= 1 << 20 && fuzz::StaysInFolder(model))
        fuzz::CheckSaves(model, result, files);
    if (hasMesh)
        fuzz::CheckCopies(std::make_unique<vlMeshData>(model.m_mesh));
    fuzz::CheckEdited(model.m_gimXml);
    fuzz::CheckEdited(model.m_mtgXml);
    return 0;
}
