#include "upgrade/UpgradePlan.h"

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
    Target target{model.m_meshPath, RealPath(model.m_meshPath), FileKind::Mesh, {}, path, "", ""};
    target.submeshes = CountSubmeshes(model.m_gimXml);
    if (target.path.empty() || target.real.empty()) {
        target.path = path;
        target.failure = error.Message();
    } else if (error && *target.submeshes == 0) {
        target.trouble = "its manifest " + path + " lists no submeshes";
    }
    return target;
}

}  // namespace

Target TargetOf(const Input& input, const LoadOptions& options)
try {
    if (input.kind == FileKind::Model)
        return MeshOf(input.path, options);
    Target target{input.path, RealPath(input.path), input.kind, {}, "", "", ""};
    if (!input.trouble.empty())
        target.failure = "the folder can't be read: " + input.trouble;
    else if (target.real.empty())
        target.failure = "the file is not there";
    return target;
} catch (const std::exception& error) {
    return {input.path, "", input.kind, {}, "", "", error.what()};
}

UpgradePlan::UpgradePlan(const std::vector<std::string>& roots)
{
    for (const std::string& root : roots)
        if (std::string real = RealPath(root); !real.empty())
            m_roots.push_back(real.ends_with('/') ? std::move(real) : real + '/');
    std::sort(m_roots.begin(), m_roots.end());
    m_roots.erase(std::unique(m_roots.begin(), m_roots.end()), m_roots.end());
}

void UpgradePlan::Add(const Target& target)
{
    const bool canBeUpgraded = target.kind == FileKind::Mesh || target.kind == FileKind::Track;
    if (!target.failure.empty())
        m_targets.push_back(target);
    if (!target.failure.empty() || !canBeUpgraded)
        return;
    const auto [place, isNew] = m_byPlace.try_emplace(target.real, m_targets.size());
    if (isNew) {
        m_targets.push_back(target);
        if (!IsInside(target.real))
            m_targets.back().trouble = "it lies outside of the given folders: " + target.real;
        return;
    }
    Target& known = m_targets[place->second];
    if (target.submeshes && known.submeshes != target.submeshes && known.trouble.empty())
        known.trouble = "its manifests do not agree on its submeshes: " + known.manifest + " lists " +
                        std::to_string(*known.submeshes) + ", " + target.manifest + " lists " +
                        std::to_string(*target.submeshes);
}

bool UpgradePlan::IsInside(const std::string& real) const
{
    return std::any_of(m_roots.begin(), m_roots.end(),
                       [&real](const std::string& root) { return real.starts_with(root); });
}

}  // namespace vela::vlgim::tools
