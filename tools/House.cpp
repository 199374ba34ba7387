#include "House.h"

#include <tinyxml2.h>

#include <cmath>
#include <initializer_list>
#include <utility>
#include <vector>

namespace vela::vlgim::tools {

namespace {

using Vector3 = geomath::_Vector3<float>;
using Point2 = geomath::_Point2<float>;

Vector3 operator-(Vector3 a, Vector3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vector3 Cross(Vector3 a, Vector3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

float Dot(Vector3 a, Vector3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3 Unit(Vector3 a)
{
    const float length = std::sqrt(Dot(a, a));
    return {a.x / length, a.y / length, a.z / length};
}

template <class T>
std::shared_ptr<T[]> Shared(const std::vector<T>& values)
{
    auto array = std::make_shared<T[]>(values.size());
    std::copy(values.begin(), values.end(), array.get());
    return array;
}

// Collects flat faces; metres, y upwards.
class MeshBuilder {
public:
    void BeginSubmesh(std::uint8_t uvSets, bool colors)
    {
        m_records.push_back({static_cast<std::uint32_t>(m_positions.size()),
                             static_cast<std::uint32_t>(m_indices.size() / 3), 0, 0, uvSets, colors});
    }

    // A convex face, counter-clockwise from outside; its first edge gives the tangent and the direction of u.
    void Face(std::initializer_list<Vector3> corners, std::uint32_t color = 0xFFFFFFFF)
    {
        const Vector3* c = corners.begin();
        const auto first = static_cast<std::uint16_t>(m_positions.size());
        const Vector3 normal = Unit(Cross(c[1] - c[0], c[2] - c[0]));
        const Vector3 tangent = Unit(c[1] - c[0]);
        const Vector3 upward = Cross(normal, tangent);
        for (const Vector3& corner : corners) {
            const Point2 meters{Dot(corner - c[0], tangent), Dot(corner - c[0], upward)};
            m_positions.push_back(corner);
            m_normals.push_back(normal);
            m_tangents.push_back(tangent);
            m_uvs[0].push_back(meters);
            m_uvs[1].push_back({meters.u / 8, meters.v / 8});  // light map: the whole house on one sheet
            m_colors.push_back(color);
        }
        const auto count = static_cast<std::uint16_t>(corners.size());
        for (std::uint16_t i = 2; i < count; ++i)
            for (const int corner : {0, i - 1, static_cast<int>(i)})
                m_indices.push_back(static_cast<std::uint16_t>(first + corner));
        m_records.back().vertexCount += count;
        m_records.back().triangleCount += count - 2U;
    }

    // Four sides and a lid between two opposite corners.
    void Box(Vector3 low, Vector3 high)
    {
        const auto [l, b, n] = low;
        const auto [r, t, f] = high;
        Face({{l, b, f}, {r, b, f}, {r, t, f}, {l, t, f}});
        Face({{r, b, f}, {r, b, n}, {r, t, n}, {r, t, f}});
        Face({{r, b, n}, {l, b, n}, {l, t, n}, {r, t, n}});
        Face({{l, b, n}, {l, b, f}, {l, t, f}, {l, t, n}});
        Face({{l, t, f}, {r, t, f}, {r, t, n}, {l, t, n}});
    }

    std::shared_ptr<vlMeshVertexData> Finish() const
    {
        auto mesh = std::make_shared<vlMeshVertexData>();
        mesh->m_subRecords = Shared(m_records);
        mesh->m_subCount = static_cast<std::uint32_t>(m_records.size());
        mesh->m_vertexCount = static_cast<std::uint32_t>(m_positions.size());
        mesh->m_triangleCount = static_cast<std::uint32_t>(m_indices.size() / 3);
        mesh->m_uvSetCount = 2;
        mesh->m_colorSetCount = 1;
        mesh->m_hasTangents = 1;
        mesh->m_positions = Shared(m_positions);
        mesh->m_normals = Shared(m_normals);
        mesh->m_tangents = Shared(m_tangents);
        mesh->m_indices = Shared(m_indices);
        for (int set = 0; set < 2; ++set)
            mesh->m_uvSets[set] = Shared(m_uvs[set]);
        mesh->m_colors = Shared(m_colors);
        return mesh;
    }

private:
    std::vector<SubmeshRecord> m_records;
    std::vector<Vector3> m_positions, m_normals, m_tangents;
    std::vector<Point2> m_uvs[2];
    std::vector<std::uint32_t> m_colors;
    std::vector<std::uint16_t> m_indices;
};

std::shared_ptr<vlMeshVertexData> BuildMesh()
{
    MeshBuilder house;
    house.BeginSubmesh(2, false);
    house.Box({-3, 0, -2}, {3, 3, 2});
    house.Face({{3, 3, 2}, {3, 3, -2}, {3, 5, 0}});
    house.Face({{-3, 3, -2}, {-3, 3, 2}, {-3, 5, 0}});
    house.Box({1.5F, 3.5F, -1.25F}, {2, 5.5F, -0.75F});  // chimney

    house.BeginSubmesh(1, true);
    house.Face({{-3.5F, 2.75F, 2.25F}, {3.5F, 2.75F, 2.25F}, {3.5F, 5, 0}, {-3.5F, 5, 0}}, 0xFF3030B0);
    house.Face({{3.5F, 2.75F, -2.25F}, {-3.5F, 2.75F, -2.25F}, {-3.5F, 5, 0}, {3.5F, 5, 0}},
               0xFF306050);  // mossy

    house.BeginSubmesh(1, false);
    house.Box({-0.5F, 0, 2}, {0.5F, 2, 2.0625F});
    return house.Finish();
}

using Parameters = std::initializer_list<std::pair<const char*, const char*>>;

tinyxml2::XMLElement* Append(tinyxml2::XMLNode* parent, const char* name, const Parameters& attributes = {})
{
    tinyxml2::XMLElement* element = parent->GetDocument()->NewElement(name);
    for (const auto& [key, value] : attributes)
        element->SetAttribute(key, value);
    parent->InsertEndChild(element);
    return element;
}

void AppendMaterial(tinyxml2::XMLElement* group, const char* name, const Parameters& parameters)
{
    tinyxml2::XMLElement* table = Append(Append(Append(group, name), "Material"), "ParamTable");
    for (const auto& [key, value] : parameters)
        Append(table, key, {{"Value", value}});
}

}  // namespace

void BuildHouse(GimData& model)
{
    model.m_mesh.m_submeshCount = 3;
    model.m_mesh.m_vertexData = BuildMesh();

    tinyxml2::XMLElement* manifest = Append(&model.m_gimXml.Document(), "Vela");
    tinyxml2::XMLElement* submeshes = Append(manifest, "SubMesh");
    Append(submeshes, "Mesh0", {{"Name", "walls"}, {"MtlIdx", "0"}});
    Append(submeshes, "Mesh1", {{"Name", "roof"}, {"MtlIdx", "1"}});
    Append(submeshes, "Mesh2", {{"Name", "door"}, {"MtlIdx", "2"}});

    tinyxml2::XMLElement* group = Append(Append(&model.m_mtgXml.Document(), "Vela"), "MaterialGroup");
    AppendMaterial(group, "plaster",
                   {{"Color", "0.9,0.86,0.78"}, {"Roughness", "0.9"}, {"Texture", "plaster.png"}});
    AppendMaterial(group, "tiles",
                   {{"Color", "0.7,0.2,0.15"}, {"Roughness", "0.7"}, {"Texture", "tiles.png"}});
    AppendMaterial(group, "oak", {{"Color", "0.35,0.22,0.1"}, {"Gloss", "0.4"}});

    Append(Append(&model.m_musicXml.Document(), "Vela"), "Event",
           {{"Name", "door_creak"}, {"Volume", "0.8"}});
}

}  // namespace vela::vlgim::tools
