// "keys.dat": exact bytes written, what reading makes of short, empty and odd files.
#include "effects/key_macro_file.h"

#include <gtest/gtest.h>

#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera::testing {
namespace {

TEST(KeyMacroFile, WritesTheExactLayoutAndReadsItBack) {
    TempDir dir;
    const std::string path = KeysFilePath(dir.File(""));
    const LKeyMacroList macros = {{kKeyCtrl | kKeyShift | 0x74, {1002, 4001, 3002}}, {0x41, {}}};
    ASSERT_TRUE(SaveKeyMacros(path, macros));
    Bytes expected{0};
    Append32(expected, 0x60074);
    expected.push_back(3);
    for (uint32_t id : {1002u, 4001u, 3002u})
        Append32(expected, id);
    Append32(expected, 0x41);
    expected.push_back(0);
    EXPECT_EQ(ReadBytes(path), expected);

    LKeyMacroList loaded;
    EXPECT_EQ(LoadKeyMacros(path, loaded), LKeysLoad::kLoaded);
    EXPECT_EQ(loaded, macros);
}

TEST(KeyMacroFile, AMacroOfMoreThan255CommandsWritesCount255AndAllIdentifiers) {
    TempDir dir;
    const std::string path = dir.File("keys.dat");
    LKeyMacro big{0x70, {}};
    for (uint32_t k = 0; k < 300; ++k)
        big.commands.push_back(1000 + k);
    ASSERT_TRUE(SaveKeyMacros(path, {big}));
    const Bytes bytes = ReadBytes(path);
    ASSERT_EQ(bytes.size(), 1u + 4 + 1 + 300 * 4);
    EXPECT_EQ(bytes[5], 255);
    EXPECT_EQ(Get32(bytes, 6 + 299 * 4), 1299u);

    // Reading takes 255 identifiers; the 45 left over are read as further macros of a key
    // value, a count byte (the low byte of the next identifier) and what follows.
    LKeyMacroList loaded;
    EXPECT_EQ(LoadKeyMacros(path, loaded), LKeysLoad::kLoaded);
    ASSERT_GE(loaded.size(), 2u);
    EXPECT_EQ(loaded[0].commands.size(), 255u);
    EXPECT_EQ(loaded[0].commands.back(), 1254u);
    EXPECT_EQ(loaded[1].key, 1255u);
}

TEST(KeyMacroFile, ShortEmptyAndMissingFiles) {
    TempDir dir;
    LKeyMacroList loaded{{1, {2}}};
    EXPECT_EQ(LoadKeyMacros(dir.File("none.dat"), loaded), LKeysLoad::kMissing);
    EXPECT_TRUE(loaded.empty());

    WriteBytes(dir.File("empty.dat"), {});
    EXPECT_EQ(LoadKeyMacros(dir.File("empty.dat"), loaded), LKeysLoad::kWrongVersion);
    WriteBytes(dir.File("v1.dat"), {1, 0x41, 0, 0, 0, 0});
    EXPECT_EQ(LoadKeyMacros(dir.File("v1.dat"), loaded), LKeysLoad::kWrongVersion);
    EXPECT_TRUE(loaded.empty());

    WriteBytes(dir.File("zero.dat"), {0});
    EXPECT_EQ(LoadKeyMacros(dir.File("zero.dat"), loaded), LKeysLoad::kLoaded);
    EXPECT_TRUE(loaded.empty());

    // Cut short inside the third identifier: the two read whole stay; a key value cut
    // short is no macro.
    Bytes cut{0};
    Append32(cut, 0x20074);
    cut.push_back(3);
    Append32(cut, 2001);
    Append32(cut, 2002);
    cut.push_back(0xd3);
    WriteBytes(dir.File("cut.dat"), cut);
    EXPECT_EQ(LoadKeyMacros(dir.File("cut.dat"), loaded), LKeysLoad::kLoaded);
    EXPECT_EQ(loaded, (LKeyMacroList{{0x20074, {2001, 2002}}}));
}

TEST(KeyMacroFile, AFileThatCannotBeCreatedFailsAndLeavesTheOldOne) {
    TempDir dir;
    EXPECT_FALSE(SaveKeyMacros(dir.File("no/such/folder/keys.dat"), {{1, {2}}}));
    // A folder in the file's place cannot be replaced.
    std::filesystem::create_directory(dir.File("keys.dat"));
    EXPECT_FALSE(SaveKeyMacros(dir.File("keys.dat"), {{1, {2}}}));
    EXPECT_TRUE(std::filesystem::is_directory(dir.File("keys.dat")));
}

}  // namespace
}  // namespace osmera::testing
