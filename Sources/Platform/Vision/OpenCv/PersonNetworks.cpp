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

std::filesystem::path closeNetworkOf(const std::filesystem::path& own) {
    if (own.empty()) return {};
    auto file = own.parent_path() / (own.stem().string() + "-close" + own.extension().string());
    std::error_code error;
    return std::filesystem::exists(file, error) ? file : std::filesystem::path();
}

PersonNetworks::PersonNetworks(std::filesystem::path modelsFolder, std::filesystem::path own)
    : modelsFolder_(std::move(modelsFolder)), own_(std::move(own)) {
    close_.file = closeNetworkOf(own_);
}

std::unique_ptr<NeuralSegmentation> PersonNetworks::tryOut(Candidate& candidate) const {
    if (!candidate.problem.empty()) return nullptr;
    try {
        if (!candidate.description) candidate.description = NeuralModel::describe(candidate.file);
        // OpenCV falls over some damaged files; the program's own are what was built.
        const bool own = candidate.file == own_ || candidate.file == close_.file;
        const auto load = [&] { NeuralSegmentation(*candidate.description).tryOut(); };
        if (!candidate.proven && !own && !survivesTrial(load))
            throw PlatformError("Vision", 3,
                                "The segmentation model " + candidate.file.string() +
                                    " can't be used: OpenCV crashes when it loads it.");
        auto network = std::make_unique<NeuralSegmentation>(*candidate.description);
        // Nor is the first mask kept waiting for the one for a close look, whose every answer is checked.
        if (!std::exchange(candidate.proven, true) && &candidate != &close_) network->tryOut();
        return network;
    } catch (const std::exception& e) {
        candidate.problem = e.what();
        say(candidate.problem);
        return nullptr;
    }
}

std::unique_ptr<NeuralSegmentation> PersonNetworks::firstThatWorks() {
    if (!std::exchange(tried_, true))
        for (auto& file : {usersNetwork(modelsFolder_), own_})
            if (!file.empty()) candidates_.push_back({file, {}, false, {}});
    for (auto& candidate : candidates_)
        if (auto network = tryOut(candidate)) return network;
    return nullptr;
}

std::string PersonNetworks::problems() const {
    std::string sentences;
    for (const auto& candidate : candidates_)
        if (!candidate.problem.empty()) sentences += (sentences.empty() ? "" : " ") + candidate.problem;
    if (!close_.problem.empty()) sentences += (sentences.empty() ? "" : " ") + close_.problem;
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

std::unique_ptr<NeuralSegmentation> PersonNetworks::loadClose(const NeuralSegmentation& whole) {
    const std::lock_guard lock(mutex_);
    return whole.file() == own_ && !close_.file.empty() ? tryOut(close_) : nullptr;
}

void PersonNetworks::giveUp(const std::filesystem::path& file, const std::string& reason) {
    const std::lock_guard lock(mutex_);
    const auto note = [&](Candidate& candidate) {
        if (candidate.file != file || !candidate.problem.empty()) return;
        candidate.problem = reason;
        say(reason);
    };
    for (auto& candidate : candidates_) note(candidate);
    note(close_);
}

PersonNetworks::Verdict PersonNetworks::verdict() {
    const std::lock_guard lock(mutex_);
    const bool first = !tried_;
    if (first) firstThatWorks();
    const auto used = std::find_if(candidates_.begin(), candidates_.end(),
                                   [](const Candidate& candidate) { return candidate.problem.empty(); });
    if (used == candidates_.end()) return {{}, {}, problems()};
    if (used->file != own_) return {used->file, {}, problems()};
    if (close_.file.empty()) {
        const std::string told = problems();
        return {
            own_,
            {},
            told + (told.empty() ? "" : " ") +
                "There is no network for a close look, so people are cut out less finely. Build Cobaltreel "
                "again while the internet can be reached."};
    }
    if (first) tryOut(close_);
    return {own_, close_.problem.empty() ? close_.file : std::filesystem::path(), problems()};
}

}  // namespace platform
