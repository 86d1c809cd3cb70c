// Facts about the run, asked from the operating system.
#include "RunStatus.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace orvane {

std::string RunStatus::GetProgramAbsolutePath() {
  char path[4352];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  std::string folder;
  if (length >= 0) {
    folder.assign(path, static_cast<std::size_t>(length));
    folder.resize(folder.rfind('/') + 1);
  }
  return folder + "data/";
}

std::string RunStatus::GetCurrentPath() {
  std::string path;
  if (char* const folder = getcwd(nullptr, 0)) {
    path = folder;
    std::free(folder);
  }
  std::replace(path.begin(), path.end(), '\\', '/');
  return path + "/";
}

std::string RunStatus::GetVersion() {
  return "Linux-" RAVELO_VERSION;
}

std::string RunStatus::GetProgramName() {
  return "ravelo";
}

}  // namespace orvane
