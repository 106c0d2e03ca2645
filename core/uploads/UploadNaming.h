#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Converts the two words of an upload's address into names that are safe on disk, decides which
/// files are accepted, and forms the names that keep a repeated one from overwriting an earlier
/// file. Static and pure.
///
/// Besides the limits in characters there is the file system's own, 255 bytes for a name. A name
/// that would exceed it with the longest suffix ("-100") and as a hidden partial file is cut
/// between two characters, and a file keeps its extension. Only a name with no character left is
/// rejected.
class UploadNaming {
 public:
  UploadNaming() = delete;

  /// Camera raw formats, JPEG, HEIF, TIFF and PNG; in the order in which the page lists them.
  static constexpr std::array<std::string_view, 22> allowedExtensions{
      "nef", "nrw", "cr2", "cr3", "arw", "raf",  "dng",  "3fr",  "fff", "orf",  "rw2",
      "pef", "iiq", "srw", "x3f", "jpg", "jpeg", "heic", "heif", "tif", "tiff", "png"};

  static constexpr std::size_t maxLabelCharacters = 40;
  static constexpr std::size_t maxFileCharacters = 120;
  static constexpr int maxAttempts = 100;  ///< names tried for one file

  static constexpr std::string_view partialPrefix = ".";
  static constexpr std::string_view partialSuffix = ".partial";

  /// The longest name of a stored file before any suffix, in bytes.
  static constexpr std::size_t maxNameBytes =
      255 - partialPrefix.size() - partialSuffix.size() - std::string_view("-100").size();

  /// The longest label in bytes; it leaves room for a file's name behind it.
  static constexpr std::size_t maxLabelBytes = 200;

  /// Returns a participant's name safe for file names, or nullopt if no letter or digit is left.
  static std::optional<std::string> participantLabel(std::string_view name);

  /// Returns the name of a file as sent by its participant's browser, without its folders, or
  /// nullopt if no name with an allowed extension is left.
  static std::optional<std::string> fileName(std::string_view name);

  /// Takes an extension without its dot, in any case.
  static bool isAllowedExtension(std::string_view extension);

  /// Returns the allowed extensions in alphabetical order, as shown to people.
  static std::string listOfAllowedExtensions();

  /// Returns what follows the last dot, or "" if there is none.
  static std::string_view pathExtension(std::string_view name);

  /// Returns the name of a participant's file for a single folder of all files. Takes a label and a
  /// file name from the functions above.
  static std::string flatName(std::string_view label, std::string_view file);

  /// Returns the name to try at an attempt: the name itself at the first, then with "-2", "-3" and
  /// so on before the extension.
  static std::string collisionName(std::string_view name, int attempt);

  /// Returns the hidden name that a file has until it is complete.
  static std::string partialName(std::string_view name);

  /// Returns whether a name can be the `partialName` of a stored file.
  static bool isPartialName(std::string_view name);

  /// Keeps letters, marks, digits, "-", "_", single spaces and, with `keepDot`, dots but no leading
  /// ones; composes canonically and cuts after `maxLength` characters. Returns nullopt if none is
  /// left.
  static std::optional<std::string> sanitize(std::string_view text, bool keepDot,
                                             std::size_t maxLength);
};

}  // namespace tarvinel
