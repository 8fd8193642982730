#include "Platform/Vision/OpenCv/PersonNetworks.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Vision/OpenCv/CrashTrial.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace platform {
namespace {

std::filesystem::path usersNetwork(const std::filesystem::path& folder) {
    if (const char* named = std::getenv("COBALTREEL_SEGMENTATION_MODEL"); named && *named) return named;
    std::filesystem::path first;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().extension() == ".onnx" && (first.empty() || entry->path() < first))
            first = entry->path();
    return first;
}

void say(const std::string& problem) {
    const std::string line = "Cobaltreel: " + problem + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

std::filesystem::path ownPersonNetwork() {
    std::error_code error;
    for (auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path(); !error;
         folder = folder.parent_path()) {
        auto file = folder / "share/cobaltreel/person-segmentation.onnx";
        if (std::filesystem::exists(file, error)) return file;
        if (folder == folder.parent_path()) break;
    }
    return {};
}

PersonNetworks::PersonNetworks(std::filesystem::path modelsFolder, std::filesystem::path own)
    : modelsFolder_(std::move(modelsFolder)), own_(std::move(own)) {}

std::unique_ptr<NeuralSegmentation> PersonNetworks::firstThatWorks() {
    if (!std::exchange(tried_, true))
        for (auto& file : {usersNetwork(modelsFolder_), own_})
            if (!file.empty()) candidates_.push_back({file, {}, false, {}});
    for (auto& candidate : candidates_) {
        if (!candidate.problem.empty()) continue;
        try {
            if (!candidate.description) candidate.description = NeuralModel::describe(candidate.file);
            // OpenCV falls over some damaged files; the program's own is what was built.
            const auto load = [&] { NeuralSegmentation(*candidate.description).tryOut(); };
            if (!candidate.proven && candidate.file != own_ && !survivesTrial(load))
                throw PlatformError("Vision", 3,
                                    "The segmentation model " + candidate.file.string() +
                                        " can't be used: OpenCV crashes when it loads it.");
            auto network = std::make_unique<NeuralSegmentation>(*candidate.description);
            if (!std::exchange(candidate.proven, true)) network->tryOut();
            return network;
        } catch (const std::exception& e) {
            candidate.problem = e.what();
            say(candidate.problem);
        }
    }
    return nullptr;
}

std::string PersonNetworks::problems() const {
    std::string sentences;
    for (const auto& candidate : candidates_)
        if (!candidate.problem.empty()) sentences += (sentences.empty() ? "" : " ") + candidate.problem;
    return sentences;
}

std::unique_ptr<NeuralSegmentation> PersonNetworks::load() {
    const std::lock_guard lock(mutex_);
    if (auto network = firstThatWorks()) return network;
    throw PlatformError(
        "Vision", 2,
        "There is no neural network that finds a person. Build Cobaltreel again while the internet "
        "can be reached, or put an ONNX network into " +
            (modelsFolder_.empty() ? "the folder of models" : modelsFolder_.string()) + "." +
            (candidates_.empty() ? "" : " " + problems()));
}

void PersonNetworks::giveUp(const std::filesystem::path& file, const std::string& reason) {
    const std::lock_guard lock(mutex_);
    for (auto& candidate : candidates_)
        if (candidate.file == file && candidate.problem.empty()) {
            candidate.problem = reason;
            say(reason);
        }
}

PersonNetworks::Verdict PersonNetworks::verdict() {
    const std::lock_guard lock(mutex_);
    if (!tried_) firstThatWorks();
    const auto used = std::find_if(candidates_.begin(), candidates_.end(),
                                   [](const Candidate& candidate) { return candidate.problem.empty(); });
    return {used == candidates_.end() ? std::filesystem::path() : used->file, problems()};
}

}  // namespace platform
