#pragma once

#include "app/doctor/Doctor.h"
#include "app/startup/CommandLine.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// What is known of the folder that participants' photos would go into.
struct UploadProbe {
  enum class Folder : std::uint8_t {
    usable,
    willBeMade,  ///< when uploads are opened
    isNoFolder,  ///< it, or something on the way to it, is a file
    notWritable,
  };

  std::filesystem::path path = {};
  Folder folder = Folder::usable;
  std::optional<std::int64_t> freeBytes = {};  ///< of its disk; nothing where it does not tell

  /// Of the folder that would be used with these options. Makes nothing. Blocks as long as the disk
  /// does.
  static UploadProbe of(const CommandLineOptions& options);
};

/// Whether photos could be taken. Pure.
Findings judge(const UploadProbe& probe);

/// What it means when the disk does not answer in time.
Finding hangingDisk();

/// What the configuration file says, and what became of it.
struct ConfigurationProbe {
  std::filesystem::path file = {};
  bool exists = false;
  std::optional<std::string> problem = {};       ///< the program's own line on it
  std::vector<std::string> unknownKeys = {};     ///< such as "hostName" or "brand.colour"
  std::vector<std::string> corrections = {};     ///< such as "fps is 60 instead of 500"
  std::vector<std::string> lostBrandFiles = {};  ///< given but not usable, such as "brand.image"

  /// Reads what the program would read with these options. Blocks.
  static ConfigurationProbe of(const CommandLineOptions& options);
};

/// Whether the configuration can be used, and its mistakes. Pure.
Findings judge(const ConfigurationProbe& probe);

}  // namespace tarvinel
