#include "core/support/UnicodeText.h"
#include "core/uploads/UploadNaming.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

using testing::EndsWith;

std::string repeated(std::string_view text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

// Participants

TEST(UploadNaming, ALabelHasSingleSpacesAndNoneAtItsEnds) {
  EXPECT_EQ(UploadNaming::participantLabel("  Sam   Smith  "), "Sam Smith");
  EXPECT_EQ(UploadNaming::participantLabel("Sam\tSmith"), "Sam Smith");
  EXPECT_EQ(UploadNaming::participantLabel("Sam\r\nSmith\n"), "Sam Smith");
  EXPECT_EQ(UploadNaming::participantLabel("Sam\u00A0\u2003Smith"), "Sam Smith");
  EXPECT_EQ(UploadNaming::participantLabel("Anna Lena"), "Anna Lena");
}

TEST(UploadNaming, ALabelKeepsLettersMarksAndDigitsOfAnyScript) {
  for (const char* name :
       {"Zoë", "Ægir", "佐藤 花子", "Анна", "مريم", "देवनागरी", "٣", "Ⅷ", "a_b-c"}) {
    EXPECT_EQ(UploadNaming::participantLabel(name), name);
  }
}

TEST(UploadNaming, ALabelLosesEverythingElse) {
  EXPECT_EQ(UploadNaming::participantLabel("../Sam"), "Sam");
  EXPECT_EQ(UploadNaming::participantLabel("S.a:m\\\"/'<>|?*"), "Sam");
  EXPECT_EQ(UploadNaming::participantLabel("Sam 📷"), "Sam");
  EXPECT_EQ(UploadNaming::participantLabel(std::string("S\0a\x7Fm\x01", 6)), "Sam");
  EXPECT_EQ(UploadNaming::participantLabel("S\u200Ba\u202Em"), "Sam");
}

TEST(UploadNaming, ALabelIsComposed) {
  EXPECT_EQ(UploadNaming::participantLabel("Zoe\u0308"), "Zo\u00EB");
  // even if what separated the letter from its mark is dropped
  EXPECT_EQ(UploadNaming::participantLabel("Zoe\u200D\u0308"), "Zo\u00EB");
}

TEST(UploadNaming, WithoutALetterOrDigitThereIsNoLabel) {
  for (const char* name : {"!!!", "", "   ", "...", "/", "\t\n", "📷"}) {
    EXPECT_EQ(UploadNaming::participantLabel(name), std::nullopt) << name;
  }
}

TEST(UploadNaming, ALabelKeepsItsFirst40Characters) {
  EXPECT_EQ(UploadNaming::participantLabel(repeated("a", 41)), repeated("a", 40));
  EXPECT_EQ(UploadNaming::participantLabel(repeated("花", 41)), repeated("花", 40));
  EXPECT_EQ(UploadNaming::participantLabel(repeated("𠀀", 41)), repeated("𠀀", 40));
  // a letter with a mark that has no composed form is one character
  EXPECT_EQ(UploadNaming::participantLabel(repeated("q\u0308", 41)), repeated("q\u0308", 40));
  EXPECT_EQ(UploadNaming::participantLabel(repeated("a", 39) + " b"), repeated("a", 39) + " ");
}

TEST(UploadNaming, ALabelThatIsLongInBytesIsCutBetweenCharacters) {
  const std::string heavy = "a" + repeated("\u0316", 30);  // 61 bytes
  EXPECT_EQ(UploadNaming::participantLabel(repeated(heavy, 10)), repeated(heavy, 3));
  EXPECT_EQ(UploadNaming::participantLabel("a" + repeated("\u0316", 100)), std::nullopt);
}

// Files

TEST(UploadNaming, AFileNameLosesItsFoldersAndLeadingDots) {
  EXPECT_EQ(UploadNaming::fileName("C:\\Users\\sam\\DSC_1234.NEF"), "DSC_1234.NEF");
  EXPECT_EQ(UploadNaming::fileName("photos/trip/IMG 1.jpg"), "IMG 1.jpg");
  EXPECT_EQ(UploadNaming::fileName("photos/trip.jpg//"), "trip.jpg");
  EXPECT_EQ(UploadNaming::fileName("../../etc/a.jpg"), "a.jpg");
  EXPECT_EQ(UploadNaming::fileName("...hidden.jpg"), "hidden.jpg");
  EXPECT_EQ(UploadNaming::fileName("a.b.jpg"), "a.b.jpg");
}

TEST(UploadNaming, AnAllowedExtensionKeepsItsCase) {
  EXPECT_EQ(UploadNaming::fileName("image.JPG"), "image.JPG");
  EXPECT_EQ(UploadNaming::fileName("DSC_1234.NEF"), "DSC_1234.NEF");
  EXPECT_EQ(UploadNaming::fileName("x.HeIc"), "x.HeIc");
}

TEST(UploadNaming, OtherExtensionsAndNoneAreRefused) {
  for (const char* name : {"clip.mov", "photo.webp", "README", "photo.", ".jpg", "..jpg",
                           "a.jpg.exe", "", "/", "\\\\", "..", "💾.💾", "jpg"}) {
    EXPECT_EQ(UploadNaming::fileName(name), std::nullopt) << name;
  }
}

TEST(UploadNaming, AFileNameOver120CharactersIsCutAndWithItsExtensionGoneRefused) {
  EXPECT_EQ(UploadNaming::fileName(repeated("a", 116) + ".jpg"), repeated("a", 116) + ".jpg");
  EXPECT_EQ(UploadNaming::fileName(repeated("a", 117) + ".jpg"), std::nullopt);
  // the cut leaves a name with an allowed extension
  EXPECT_EQ(UploadNaming::fileName(repeated("a", 116) + ".jpgx.png"), repeated("a", 116) + ".jpg");
}

TEST(UploadNaming, AFileNameThatTheFileSystemCannotHoldIsCutBetweenCharactersBeforeItsExtension) {
  const std::string longest = repeated("写", 79) + ".jpeg";  // 237 + 5 bytes: exactly the limit
  ASSERT_EQ(longest.size(), UploadNaming::maxNameBytes);
  EXPECT_EQ(UploadNaming::fileName(longest), longest);
  EXPECT_EQ(UploadNaming::fileName(repeated("写", 80) + ".jpeg"), longest);
  EXPECT_EQ(UploadNaming::fileName(repeated("写", 115) + ".jpeg"), longest);
  const std::string family = "क\u094D\u0937\u093F";  // one character of 12 bytes
  EXPECT_EQ(UploadNaming::fileName(repeated(family, 30) + ".jpeg"), repeated(family, 19) + ".jpeg");
}

TEST(UploadNaming, AFileNameOfWhichNoCharacterFitsIsRefused) {
  EXPECT_EQ(UploadNaming::fileName("a" + repeated("\u0316", 150) + ".jpg"), std::nullopt);
}

// Extensions

TEST(UploadNaming, ExtensionsAreTestedInAnyCaseAndWithoutTheDot) {
  EXPECT_TRUE(UploadNaming::isAllowedExtension("HEIC"));
  EXPECT_TRUE(UploadNaming::isAllowedExtension("3fr"));
  EXPECT_FALSE(UploadNaming::isAllowedExtension(".heic"));
  EXPECT_FALSE(UploadNaming::isAllowedExtension(""));
  EXPECT_FALSE(UploadNaming::isAllowedExtension("gif"));
}

TEST(UploadNaming, TheListShownToPeopleIsSorted) {
  EXPECT_EQ(UploadNaming::listOfAllowedExtensions(),
            "3fr, arw, cr2, cr3, dng, fff, heic, heif, iiq, jpeg, jpg, nef, nrw, orf, pef, png, "
            "raf, rw2, srw, tif, tiff, x3f");
}

// Names on disk

TEST(UploadNaming, ACollisionSuffixStandsBeforeTheExtension) {
  EXPECT_EQ(UploadNaming::collisionName("DSC_1234.NEF", 2), "DSC_1234-2.NEF");
  EXPECT_EQ(UploadNaming::collisionName("DSC_1234.NEF", 3), "DSC_1234-3.NEF");
  EXPECT_EQ(UploadNaming::collisionName("a.b.jpg", 2), "a.b-2.jpg");
  EXPECT_EQ(UploadNaming::collisionName("notes", 2), "notes-2");
  EXPECT_EQ(UploadNaming::collisionName("x.jpg", 10), "x-10.jpg");
  for (const int attempt : {1, 0, -7}) {
    EXPECT_EQ(UploadNaming::collisionName("x.jpg", attempt), "x.jpg");
  }
}

TEST(UploadNaming, AFlatNameJoinsLabelAndFile) {
  EXPECT_EQ(UploadNaming::flatName("Sam", "DSC_1234.NEF"), "Sam-DSC_1234.NEF");
}

TEST(UploadNaming, TheLongestNamesOfAllFitTheFileSystem) {
  const std::string label = *UploadNaming::participantLabel(repeated("𠀀", 40));
  const std::string file = *UploadNaming::fileName(repeated("写", 115) + ".jpeg");
  const std::string name = UploadNaming::flatName(label, file);
  EXPECT_EQ(name, label + "-" + repeated("写", 25) + ".jpeg");  // 160 + 1 + 75 + 5 bytes
  const std::string last = UploadNaming::collisionName(name, UploadNaming::maxAttempts);
  EXPECT_THAT(last, EndsWith("写-100.jpeg"));
  EXPECT_EQ(UploadNaming::partialName(last).size(), 254U);
}

TEST(UploadNaming, PartialNamesAreHiddenAndKnownAgain) {
  EXPECT_EQ(UploadNaming::partialName("Sam-DSC_1234.NEF"), ".Sam-DSC_1234.NEF.partial");
  for (const char* name : {"Sam-DSC_1234.NEF", "Sam-DSC_1234-2.NEF", " x.jpg", "写.png"}) {
    EXPECT_TRUE(UploadNaming::isPartialName(UploadNaming::partialName(name))) << name;
  }
}

TEST(UploadNaming, OtherHiddenNamesAreNotTakenForPartialFiles) {
  for (const char* name :
       {".partial", "..partial", "Sam-a.jpg.partial", ".Sam-a.jpg", ".Sam-a.jpg.part",
        ".a.txt.partial", ".a.partial", "..a.jpg.partial", ".a  b.jpg.partial", ".a,b.jpg.partial",
        ".Zoe\u0308.jpg.partial", ".a.jpg.partial.partial", ".\xFF.jpg.partial", ""}) {
    EXPECT_FALSE(UploadNaming::isPartialName(name)) << name;
  }
}

// Characters

TEST(UnicodeText, CountsCharactersAsAReaderDoes) {
  EXPECT_EQ(firstCharacters("abc", 2), "ab");
  EXPECT_EQ(firstCharacters("abc", 3), "abc");
  EXPECT_EQ(firstCharacters("abc", 9), "abc");
  EXPECT_EQ(firstCharacters("abc", 0), "");
  EXPECT_EQ(firstCharacters("", 5), "");
  EXPECT_EQ(firstCharacters("x\u0308y", 1), "x\u0308");
  EXPECT_EQ(firstCharacters("\r\nx", 1), "\r\n");
}

TEST(UnicodeText, FitsWholeCharactersIntoBytes) {
  EXPECT_EQ(firstCharactersWithin("abc", 3), "abc");
  EXPECT_EQ(firstCharactersWithin("写真", 5), "写");
  EXPECT_EQ(firstCharactersWithin("x\u0308y", 2), "");
  EXPECT_EQ(firstCharactersWithin("x\u0308y", 3), "x\u0308");
}

}  // namespace
}  // namespace tarvinel
