#pragma once

#include "Platform/Desktop/FileBrowser.hpp"

#include <QObject>
#include <QString>

namespace platform {

/// Asks the file manager on the session bus to show the file (interface org.freedesktop.FileManager1); when
/// none answers within three seconds, opens the folder with `xdg-open`.
class QtFileBrowser final : public QObject, public FileBrowser {
  public:
    QtFileBrowser();
    ~QtFileBrowser() override;

    void reveal(const std::filesystem::path& file, Outcome done) override;

  private:
    void openFolder(const std::filesystem::path& file, const Outcome& done);

    QString connectionName_;
};

}  // namespace platform
