#pragma once

#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tarvinel::test {

/// A folder that describes network interfaces as sysfs does.
class FakeSysfs {
 public:
  std::filesystem::path path() const { return folder_.path(); }

  /// Adds an interface with a device of its own.
  void hardware(const std::string& name, const std::string& driver,
                const std::string& deviceType = "") const {
    virtualInterface(name, {}, deviceType);
    std::filesystem::create_directories(at(name) / "device");
    std::filesystem::create_symlink("../../../bus/drivers/" + driver, at(name) / "device/driver");
  }

  void ethernet(const std::string& name) const { hardware(name, "e1000e"); }

  void wifi(const std::string& name) const {
    hardware(name, "iwlwifi", "wlan");
    std::filesystem::create_directories(at(name) / "wireless");
    std::filesystem::create_directories(at(name) / "phy80211");
  }

  /// Adds an interface without a device, over others or over none.
  void virtualInterface(const std::string& name, const std::vector<std::string>& lower = {},
                        const std::string& deviceType = "") const {
    const std::string line = deviceType.empty() ? "" : "DEVTYPE=" + deviceType + "\n";
    write(name + "/uevent", line + "INTERFACE=" + name + "\n");
    write(name + "/type", "1\n");
    for (const std::string& below : lower)
      std::filesystem::create_directory_symlink("../" + below, at(name) / ("lower_" + below));
  }

  /// Writes a file of an interface, such as "wg0/type".
  void write(const std::string& file, const std::string& content) const {
    folder_.write("class/net/" + file, content);
  }

  std::filesystem::path at(const std::string& name) const {
    return folder_ / ("class/net/" + name);
  }

 private:
  TemporaryFolder folder_;
};

}  // namespace tarvinel::test
