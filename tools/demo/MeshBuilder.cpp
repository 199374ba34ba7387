#include "demo/MeshBuilder.h"

#include <cmath>

namespace vela::vlgim::tools {

namespace {

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
void Append(std::vector<T>& values, const std::vector<T>& more)
{
    values.insert(values.end(), more.begin(), more.end());
}

}  // namespace

void MeshBuilder::BeginSubmesh(std::uint8_t uvSets, bool colors)
{
    m_records.push_back({static_cast<std::uint32_t>(m_positions.size()),
                         static_cast<std::uint32_t>(m_indices.size() / 3), 0, 0, uvSets, colors});
}

void MeshBuilder::Face(std::initializer_list<Vector3> corners, std::uint32_t color)
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
        m_uvs[1].push_back({meters.u / 8, meters.v / 8});  // light map: the whole model on one sheet
        m_colors.push_back(color);
    }
    const auto count = static_cast<std::uint16_t>(corners.size());
    for (std::uint16_t i = 2; i < count; ++i)
        for (const int corner : {0, i - 1, static_cast<int>(i)})
            m_indices.push_back(static_cast<std::uint16_t>(first + corner));
    m_records.back().vertexCount += count;
    m_records.back().triangleCount += count - 2U;
}

void MeshBuilder::Box(Vector3 low, Vector3 high)
{
    const auto [l, b, n] = low;
    const auto [r, t, f] = high;
    Face({{l, b, f}, {r, b, f}, {r, t, f}, {l, t, f}});
    Face({{r, b, f}, {r, b, n}, {r, t, n}, {r, t, f}});
    Face({{r, b, n}, {l, b, n}, {l, t, n}, {r, t, n}});
    Face({{l, b, n}, {l, b, f}, {l, t, f}, {l, t, n}});
    Face({{l, t, f}, {r, t, f}, {r, t, n}, {l, t, n}});
}

void MeshBuilder::AddFrame(const MeshBuilder& frame)
{
    Append(m_positions, frame.m_positions);
    Append(m_normals, frame.m_normals);
    Append(m_tangents, frame.m_tangents);
}

void MeshBuilder::Fill(vlMeshData& mesh, const std::shared_ptr<vlMeshVertexData>& vertices) const
{
    mesh.m_submeshCount = static_cast<std::uint32_t>(m_records.size());
    mesh.m_vertexData = vertices;
    vertices->m_subRecords = m_records;
    vertices->m_subCount = mesh.m_submeshCount;
    vertices->m_vertexCount = static_cast<std::uint32_t>(m_colors.size());
    vertices->m_frameCount = static_cast<std::uint32_t>(m_positions.size() / m_colors.size());
    vertices->m_triangleCount = static_cast<std::uint32_t>(m_indices.size() / 3);
    vertices->m_colorSetCount = 1;
    vertices->m_hasTangents = 1;
    vertices->m_positions = m_positions;
    vertices->m_normals = m_normals;
    vertices->m_tangents = m_tangents;
    vertices->m_indices = m_indices;
    for (const SubmeshRecord& record : m_records)
        vertices->m_uvSetCount = std::max(vertices->m_uvSetCount, record.uvSetCount);
    for (std::uint8_t set = 0; set < vertices->m_uvSetCount; ++set)
        vertices->m_uvSets[set] = m_uvs[set];
    vertices->m_colors = m_colors;
}

}  // namespace vela::vlgim::tools
