#pragma once

#include "Platform/Vision/OpenCv/NeuralSegmentation.hpp"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The program's own network: `share/cobaltreel/person-segmentation.onnx` in the nearest folder above the
/// running program, which is where it is built and where it is installed. Empty when there is none.
std::filesystem::path ownPersonNetwork();

/// The program's own network for a close look beside `own`, the one for whole frames: `NAME-close.onnx` for
/// `NAME.onnx`. Empty when there is none.
std::filesystem::path closeNetworkOf(const std::filesystem::path& own);

/// The networks that may find a person, in order: the user's, then the program's own. One that proves to be
/// of no use is given up for good, with a line on the standard error stream. Safe on any thread.
class PersonNetworks {
  public:
    /// The user's network is the file that the environment variable COBALTREEL_SEGMENTATION_MODEL names, else
    /// the first *.onnx, by name, in `modelsFolder`. `own` may be empty.
    PersonNetworks(std::filesystem::path modelsFolder, std::filesystem::path own);

    /// The first network that works, for one request. Throws PlatformError("Vision", 2) that says what to do
    /// when there is none.
    std::unique_ptr<NeuralSegmentation> load();
    /// The program's own for a close look, to go with `whole`, for one request; none when `whole` is the
    /// user's, which looks closely itself, or when there is none that works.
    std::unique_ptr<NeuralSegmentation> loadClose(const NeuralSegmentation& whole);
    /// `file` answered nonsense: nobody uses it any more.
    void giveUp(const std::filesystem::path& file, const std::string& reason);

    /// What is known, after one attempt to load.
    struct Verdict {
        std::filesystem::path file;   ///< empty when no network works
        std::filesystem::path close;  ///< the one for a close look; empty when `file` looks closely itself
        std::string problems;         ///< sentences about those that don't work or are missing
    };
    Verdict verdict();

  private:
    struct Candidate {
        std::filesystem::path file;
        std::optional<NeuralModel> description;
        bool proven = false;  ///< tried out, once
        std::string problem;
    };
    std::unique_ptr<NeuralSegmentation> firstThatWorks();  // with the lock
    std::unique_ptr<NeuralSegmentation> tryOut(Candidate& candidate) const;
    std::string problems() const;

    const std::filesystem::path modelsFolder_, own_;
    std::mutex mutex_;
    bool tried_ = false;
    std::vector<Candidate> candidates_;
    Candidate close_;
};

}  // namespace platform
