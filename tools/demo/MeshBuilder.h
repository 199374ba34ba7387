#pragma once

#include <vlgim/vlMeshData.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace vela::vlgim::tools {

using Vector3 = geomath::_Vector3<float>;
using Point2 = geomath::_Point2<float>;

inline Vector3 operator+(Vector3 a, Vector3 b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vector3 operator-(Vector3 a, Vector3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// Collects the flat faces of a mesh, submesh by submesh; metres, y upwards.
class MeshBuilder {
public:
    void BeginSubmesh(std::uint8_t uvSets, bool colors);

    /// Adds a convex face, its corners counter-clockwise from outside. The first edge gives the tangent and the
    /// direction of u.
    void Face(std::initializer_list<Vector3> corners, std::uint32_t color = 0xFFFFFFFF);

    /// Adds four sides and a lid between two opposite corners: 20 vertices, 10 triangles.
    void Box(Vector3 low, Vector3 high);

    /// Appends the positions, normals and tangents of the same faces at another time.
    void AddFrame(const MeshBuilder& frame);

    /// Puts all that was collected into the vertex object, new or of another class, and that into the mesh.
    void Fill(vlMeshData& mesh,
              const std::shared_ptr<vlMeshVertexData>& vertices = std::make_shared<vlMeshVertexData>()) const;

private:
    std::vector<SubmeshRecord> m_records;
    std::vector<Vector3> m_positions, m_normals, m_tangents;  // of all frames
    std::vector<Point2> m_uvs[2];
    std::vector<std::uint32_t> m_colors;  // one a vertex
    std::vector<std::uint16_t> m_indices;
};

}  // namespace vela::vlgim::tools
