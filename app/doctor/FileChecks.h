#pragma once

#include "app/doctor/Doctor.h"
#include "app/startup/CommandLine.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// What is known of the folder for participants' photos.
struct UploadProbe {
  enum class Folder : std::uint8_t {
    usable,
    willBeMade,  ///< when uploads are opened
    isNoFolder,  ///< it or one of its parents is a file
    notWritable,
  };

  std::filesystem::path path = {};
  Folder folder = Folder::usable;
  std::optional<std::int64_t> freeBytes = {};  ///< on its disk; nullopt if unknown

  /// Probes the folder that these options select. Does not create it. Blocks as long as the disk
  /// does.
  static UploadProbe of(const CommandLineOptions& options);
};

/// Reports whether photos can be stored. Pure.
Findings judge(const UploadProbe& probe);

/// Reports that the disk did not respond in time.
Finding hangingDisk();

/// The content of the configuration file, and its effect.
struct ConfigurationProbe {
  std::filesystem::path file = {};
  bool exists = false;
  std::optional<std::string> problem = {};       ///< the error message of the program itself
  std::vector<std::string> unknownKeys = {};     ///< such as "hostName" or "brand.colour"
  std::vector<std::string> corrections = {};     ///< such as "fps is 60 instead of 500"
  std::vector<std::string> lostBrandFiles = {};  ///< set but not usable, such as "brand.image"

  /// Reads the same file as the program with these options. Blocks.
  static ConfigurationProbe of(const CommandLineOptions& options);
};

/// Reports whether the configuration can be used, and its errors. Pure.
Findings judge(const ConfigurationProbe& probe);

}  // namespace tarvinel
