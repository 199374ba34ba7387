#include "upgrade/Upgrade.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>

namespace vela::vlgim::tools {

namespace {

std::string RealPath(const std::string& path)
{
    std::error_code error;
    return std::filesystem::canonical(path, error).string();
}

// The mesh of a model, whether or not it can be read: why it can't is found where it is looked at.
Target MeshOf(const std::string& path, const LoadOptions& options)
{
    GimData model;
    const Error error = Load(model, path.c_str(), options);
    const std::string real = RealPath(model.m_meshPath);
    if (real.empty())
        return {path, FileKind::Mesh, "", {}, path, "", error.Message()};
    const std::uint32_t submeshes = model.m_mesh.m_submeshCount;
    const std::string trouble = submeshes == 0 ? "its manifest " + path + " lists no submeshes" : "";
    return {model.m_meshPath, FileKind::Mesh, real, submeshes, path, trouble, ""};
}

}  // namespace

Target TargetOf(const Input& input, const LoadOptions& options)
try {
    if (input.kind == FileKind::Model)
        return MeshOf(input.path, options);
    Target target{input.path, input.kind, RealPath(input.path), {}, "", "", ""};
    if (!input.trouble.empty())
        target.failure = "the folder can't be read: " + input.trouble;
    else if (target.real.empty())
        target.failure = "the file doesn't exist";
    return target;
} catch (const std::exception& error) {
    return {input.path, input.kind, "", {}, "", "", error.what()};
}

UpgradePlan::UpgradePlan(const std::vector<std::string>& roots)
{
    for (const std::string& root : roots)
        if (const std::string real = RealPath(root); !real.empty())
            m_roots.insert(real.ends_with('/') ? real : real + '/');
}

void UpgradePlan::Add(const Target& target)
{
    if (!target.failure.empty())
        return m_targets.push_back(target);
    if (target.kind != FileKind::Mesh && target.kind != FileKind::Track)
        return;
    const auto [place, isNew] = m_byPlace.try_emplace(target.real, m_targets.size());
    if (isNew)
        m_targets.push_back(target);
    Target& known = m_targets[place->second];
    const auto holds = [&known](const std::string& root) { return known.real.starts_with(root); };
    if (std::none_of(m_roots.begin(), m_roots.end(), holds))
        known.trouble = "it is outside the given folders: " + known.real;
    else if (target.submeshes && known.submeshes != target.submeshes && known.trouble.empty())
        known.trouble = "its manifests disagree on its submesh count: " + known.manifest + " lists " +
                        std::to_string(*known.submeshes) + ", " + target.manifest + " lists " +
                        std::to_string(*target.submeshes);
}

}  // namespace vela::vlgim::tools
