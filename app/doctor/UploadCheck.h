#pragma once

#include "app/doctor/Finding.h"
#include "app/startup/CommandLine.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tarvinel {

/// What is known of the folder that participants' photos would go into.
struct UploadFacts {
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
  static UploadFacts of(const CommandLineOptions& options);
};

/// Whether photos could be taken. Pure.
Findings judge(const UploadFacts& facts);

/// What it means when the disk does not answer in time.
Finding hangingDisk();

}  // namespace tarvinel
