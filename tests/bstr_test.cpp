#include <filesystem>

#include "process.h"
#include <DataStorage/interfaces/bstr.h>

namespace {

constexpr std::int64_t far = std::numeric_limits<std::int64_t>::max();

std::string Read(bstr_cBinary_istream& in, std::int64_t n) {
  std::string bytes(static_cast<std::size_t>(n), '.');
  static_cast<void>(in.Read(bytes.data(), n));
  return bytes;
}

bool Write(bstr_cBinary_ostream& out, const std::string& bytes) {
  return out.Write(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

void CheckInput(bstr_cBinary_istream& in) {  // of "0123456789"
  EXPECT_EQ(in.Size(), 10);
  EXPECT_EQ(Read(in, 4), "0123");
  EXPECT_TRUE(in.Skip(3));
  EXPECT_EQ(Read(in, 5), "789..");
  EXPECT_FALSE(in.bGood());
  EXPECT_EQ(in.Position(), 7);
  EXPECT_EQ(Read(in, 1), ".");
  EXPECT_TRUE(in.Seek(7));
  EXPECT_EQ(Read(in, 3), "789");
  EXPECT_TRUE(in.Read(nullptr, 0));
  EXPECT_EQ(in.Position(), 10);

  for (const std::int64_t n : {std::int64_t{-1}, std::int64_t{6}, far, -far}) {
    EXPECT_TRUE(in.Seek(5) && in.bGood());
    EXPECT_FALSE(in.Skip(n)) << n;
    EXPECT_FALSE(in.Skip(0));
    EXPECT_TRUE(in.Seek(10));
    EXPECT_FALSE(in.Seek(n < 0 ? n : 11));
    EXPECT_FALSE(in.bGood());
    EXPECT_EQ(in.Position(), 10);
  }
  EXPECT_TRUE(in.Seek(0));
  EXPECT_FALSE(in.Read(nullptr, -1));
}

void CheckOutput(bstr_cBinary_ostream& out) {  // leaves "abXYZf", a gap of 2 and "!"
  EXPECT_TRUE(Write(out, "abcdef"));
  EXPECT_TRUE(out.SetEnd(2));
  EXPECT_TRUE(Write(out, "XYZ"));
  EXPECT_EQ(out.Position(), 5);
  EXPECT_FALSE(out.Seek(-1));
  EXPECT_FALSE(Write(out, "?"));
  EXPECT_TRUE(out.Seek(8));
  EXPECT_FALSE(out.Write("", -1));
  EXPECT_TRUE(out.Seek(8));
  EXPECT_TRUE(Write(out, "!"));
  EXPECT_TRUE(out.Seek(far));
  EXPECT_FALSE(Write(out, "??"));
  EXPECT_FALSE(out.bGood());
}

TEST(RawStream, KeepsItsContractInMemoryAndOnFile) {
  const std::string written("abXYZf\0\0!", 9);
  bstr_cMemory_istream memory_in("0123456789", 10);
  CheckInput(memory_in);
  bstr_cMemory_ostream memory_out;
  CheckOutput(memory_out);
  EXPECT_EQ(std::string(static_cast<const char*>(memory_out.Data()), 9), written);
  EXPECT_EQ(memory_out.Size(), 9);

  const TempFile file;
  file.SetBytes("0123456789");
  CheckInput(bstr_cBinary_fstream(file.Path(), bstr_OpenReadOnly).Input());
  CheckOutput(bstr_cBinary_fstream(file.Path(), bstr_CreateEmpty).Output());
  EXPECT_EQ(file.Bytes(), written);
}

TEST(RawStream, WritesNumbersLittleEndian) {
  const comp_cComplex<float> numbers[] = {{1, -2}, {0.5F, 0}};
  bstr_cMemory_ostream out;
  EXPECT_TRUE(bstr_WriteFields(out, std::int32_t{0x01020304}, std::uint16_t{0xABCD}));
  EXPECT_TRUE(bstr_WriteNumbers(out, numbers, 2));
  const std::string bytes(static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size()));
  EXPECT_EQ(bytes, std::string("\4\3\2\1\xCD\xAB\0\0\x80\x3f\0\0\0\xc0\0\0\0\x3f\0\0\0\0", 22));

  bstr_cMemory_istream in(bytes.data(), 10);
  std::int32_t first = 7;
  std::uint16_t second = 7;
  EXPECT_TRUE(bstr_ReadFields(in, first, second));
  EXPECT_FALSE(bstr_ReadFields(in, second, first)) << "two bytes short";
  EXPECT_TRUE(first == 0x01020304 && second == 0xABCD);
}

// These sanitizers end the program when memory runs out.
#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !__has_feature(address_sanitizer) && \
    !__has_feature(thread_sanitizer)
TEST(MemoryStream, FailsWhereThereIsNotEnoughMemory) {
  bstr_cMemory_ostream out;
  EXPECT_TRUE(Write(out, "a"));
  EXPECT_TRUE(out.Seek(far - 10));
  EXPECT_FALSE(Write(out, "b"));
  EXPECT_EQ(out.Size(), 1);
  EXPECT_TRUE(out.Seek(1) && Write(out, "b"));
}
#endif

TEST(FileStream, OpensAsAsked) {
  struct Case {
    bstr_eAccess access;
    bool exists, in, out;
    const char* after;
  };
  const TempFile file;
  const Case cases[] = {
      {bstr_CreateOrOpen, true, true, true, "old"},  {bstr_CreateOrOpen, false, true, true, ""},
      {bstr_CreateEmpty, true, true, true, ""},      {bstr_CreateEmpty, false, true, true, ""},
      {bstr_OpenExisting, true, true, true, "old"},  {bstr_OpenExisting, false, false, false, nullptr},
      {bstr_OpenReadOnly, true, true, false, "old"}, {bstr_OpenReadOnly, false, false, false, nullptr},
      {bstr_CreateLocked, true, true, true, ""},     {bstr_CreateLocked, false, true, true, ""},
      {bstr_OpenLocked, true, true, true, "old"},    {bstr_OpenLocked, false, false, false, nullptr},
      {bstr_CreateNew, true, false, false, "old"},   {bstr_CreateNew, false, true, true, ""}};
  for (const Case& c : cases) {
    std::remove(file.Path().CString());
    if (c.exists) file.SetBytes("old");
    bstr_cBinary_fstream stream(file.Path(), c.access);
    EXPECT_TRUE(stream.Path() == file.Path());
    const bool refused = !system_has_locks && detail::bLocks(c.access);
    const bool in = c.in && !refused, out = c.out && !refused;
    EXPECT_EQ(stream.Input().bGood() && stream.Input().Seek(0), in) << c.access;
    EXPECT_EQ(stream.Output().bGood() && stream.Output().Seek(0), out) << c.access;
    EXPECT_FALSE(!out && (Write(stream.Output(), "x") || stream.Output().Seek(0)));
    EXPECT_EQ(file.bExists(), refused ? c.exists : c.after != nullptr);
    EXPECT_EQ(file.Bytes(), refused && c.exists ? "old" : c.after != nullptr ? c.after : "") << c.access;
  }
  file.SetBytes("old");
  const str_cString zero_inside = file.Path() + str_cString("\0tail", 5);
  for (const str_cString& path : {str_cString(testing::TempDir().c_str()), str_cString(), zero_inside}) {
    bstr_cBinary_fstream stream(path, bstr_OpenReadOnly);
    EXPECT_FALSE(stream.Input().bGood() || stream.Input().Seek(0) || stream.Input().Size() != 0);
  }
}

TEST(FileStream, HoldsALockUntilItsLastCopyIsGone) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  const TempFile file, other_file("other");
  file.SetBytes("old");
  const auto lock = [&](bstr_eAccess access) { return bstr_cBinary_fstream(file.Path(), access).Lock(); };
  auto holder = std::make_unique<bstr_cBinary_fstream>(file.Path(), bstr_OpenLocked);
  bstr_cBinary_fstream copy(*holder);
  holder.reset();
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(copy.Lock(), bstr_LockHeld);
    for (const bstr_eAccess access : {bstr_OpenLocked, bstr_CreateLocked}) {
      bstr_cBinary_fstream refused(file.Path(), access);
      EXPECT_EQ(refused.Lock(), bstr_LockTaken);
      EXPECT_FALSE(refused.Input().Seek(0) || refused.Output().Seek(0));
    }
    for (const bstr_eAccess access : {bstr_OpenReadOnly, bstr_OpenExisting, bstr_CreateOrOpen}) {
      EXPECT_TRUE(bstr_cBinary_fstream(file.Path(), access).Input().bGood());
      EXPECT_EQ(lock(access), bstr_NoLock);
    }
  }
  EXPECT_EQ(file.Bytes(), "old");
  const std::string named = bstr_LockHolder(file.Path()).CString();
  EXPECT_EQ(named.starts_with("process " + std::to_string(ProcessId()) + " ("), system_knows_holders)
      << named;
  copy = bstr_cBinary_fstream(other_file.Path());
  EXPECT_EQ(bstr_LockHolder(file.Path()), "");
  EXPECT_EQ(lock(bstr_OpenLocked), bstr_LockHeld);

  const auto calls = detail::file_calls;
  detail::file_calls.open = [](const char*, bstr_eAccess) { return detail::UnlockableFile; };
  EXPECT_EQ(lock(bstr_OpenLocked), bstr_LockMissing);
  EXPECT_FALSE(bstr_cBinary_fstream(file.Path(), bstr_OpenLocked).bGood());
  detail::file_calls = calls;
}

TEST(FileStream, TakesAnyNameOfAFileAndNoneOfADevice) {
  const TempFile folder("folder");
  std::vector<std::string> made{folder.Path().CString()};  // folders, then files
  for (int depth = 0; depth < 2; ++depth) made.push_back(made.back() + '/' + std::string(150, 'x'));
  for (const std::string& path : made) MakeFolder(path);
  for (const std::string& name : {made.front() + "/Größe 測定 №1.dseries", made.back() + "/file"}) {
    bstr_cBinary_fstream file(str_cString(name.c_str()), bstr_CreateEmpty);
    EXPECT_TRUE(Write(file.Output(), "0123")) << name;
    EXPECT_EQ(Read(bstr_cBinary_fstream(str_cString(name.c_str()), bstr_OpenReadOnly).Input(), 4), "0123");
    made.push_back(name);
  }
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(made.front()) / u8"Größe 測定 №1.dseries"));
  std::for_each(made.rbegin(), made.rend(), Remove);

#if defined(_WIN32)
  const char* const others[] = {"NUL",         "nul",        "CON",       "COM1",
                                "aux.dseries", "\\\\.\\NUL", "\\\\.\\C:", "\\\\.\\pipe\\datastorage",
                                "file:stream", "\xFF"};
#else
  const char* const others[] = {"/dev/null", "/dev/zero", "/dev/tty"};
#endif
  for (const char* const name : others) {
    for (int access = bstr_CreateOrOpen; access <= bstr_CreateNew; ++access) {
      bstr_cBinary_fstream stream(name, static_cast<bstr_eAccess>(access));
      EXPECT_FALSE(stream.Input().bGood() || stream.Output().bGood()) << name << ' ' << access;
    }
  }
}

TEST(FileStream, LocksNobodyOut) {
  const TempFile file, renamed("renamed"), kept("kept");
  bstr_cBinary_fstream writer(file.Path(), system_has_locks ? bstr_CreateLocked : bstr_CreateEmpty);
  EXPECT_TRUE(Write(writer.Output(), "01"));
  bstr_cBinary_fstream reader(file.Path(), bstr_OpenReadOnly);
  EXPECT_EQ(file.Bytes(), "01") << "other programs read it";
  EXPECT_EQ(std::rename(file.Path().CString(), renamed.Path().CString()), 0);
  EXPECT_TRUE(Write(writer.Output(), "23"));
  std::filesystem::copy_file(renamed.Path().CString(), kept.Path().CString());
  EXPECT_EQ(kept.Bytes(), "0123");
  EXPECT_EQ(std::remove(renamed.Path().CString()), 0);
  EXPECT_TRUE(Write(writer.Output(), "45"));
  EXPECT_EQ(Read(reader.Input(), 6), "012345") << "open streams outlive the name";
  EXPECT_EQ(bstr_cBinary_fstream(renamed.Path(), bstr_OpenExisting).bGood(), bUnderWine());
}

TEST(FileStream, WindowHidesNoWriteThroughAnyCopy) {
  const TempFile file;
  bstr_cBinary_fstream stream(file.Path());
  EXPECT_TRUE(Write(stream.Output(), "0123456789"));
  EXPECT_EQ(Read(stream.Input(), 2), "01");

  const TempFile other_file("other");
  bstr_cBinary_fstream copy(stream), assigned(other_file.Path());
  EXPECT_TRUE(Write(assigned.Output(), "another file"));
  EXPECT_EQ(Read(assigned.Input(), 2), "an");
  assigned = copy;
  EXPECT_EQ(Read(assigned.Input(), 2), "23") << "not from the window of the other file";
  EXPECT_TRUE(assigned.Input().Seek(2));
  EXPECT_TRUE(copy.Output().Seek(2));
  EXPECT_TRUE(Write(copy.Output(), "ab") && Write(stream.Output(), "X"));
  EXPECT_EQ(Read(stream.Input(), 3), "ab4");
  EXPECT_EQ(Read(copy.Input(), 2), "ab");
  EXPECT_EQ(Read(assigned.Input(), 9), "ab456789X");
  EXPECT_TRUE(Write(assigned.Output(), "Y"));
  EXPECT_EQ(Read(stream.Input(), 7), "56789Y.") << "the assigned copy wrote at the position of the original";
  EXPECT_FALSE(stream.Input().bGood());

  // Bytes that another object appends are read beyond the end of the window.
  bstr_cBinary_fstream other(file.Path());
  EXPECT_TRUE(other.Output().Seek(11) && Write(other.Output(), "Z"));
  EXPECT_TRUE(copy.Input().Seek(11));
  EXPECT_EQ(Read(copy.Input(), 1), "Z");
}

TEST(FileStream, AsksTheSystemSeldom) {
  const TempFile file;
  std::string bytes(200000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i % 251);
  file.SetBytes(bytes);
  bstr_cBinary_fstream stream(file.Path());
  const FaultyDisk disk;
  auto& in = stream.Input();
  for (std::size_t i = 0; i < bytes.size(); i += 40) ASSERT_EQ(Read(in, 40), bytes.substr(i, 40));
  EXPECT_LE(disk.count, 4);
  disk.count = 0;
  EXPECT_TRUE(in.Seek(100) && Read(in, 150000) == bytes.substr(100, 150000));
  EXPECT_EQ(disk.count, 1);
  EXPECT_TRUE(in.Seek(10) && Read(in, 20) == bytes.substr(10, 20));
  disk.count = 0;
  EXPECT_TRUE(Read(in, 5000) == bytes.substr(30, 5000)) << "partly from the window";
  EXPECT_TRUE(stream.Output().Seek(7) && stream.Output().SetEnd(9) && Write(stream.Output(), bytes));
  EXPECT_LE(disk.count, 2);
}

TEST(FileStream, EveryFaultShowsAndPasses) {
  const TempFile file;
  std::string longer(10000, 'L');
  for (std::size_t i = 0; i < longer.size(); i += 7) longer[i] = static_cast<char>(i);
  const auto use = [&](bstr_cBinary_istream& in, bstr_cBinary_ostream& out) {
    return in.Seek(3) && out.Seek(0) && out.WriteTwo("head", 4, longer.data(), 10000) && in.Seek(2) &&
           Read(in, 2) == "ad" && Read(in, 10000) == longer;
  };
  for (const std::int64_t longest_move : {far, std::int64_t{1000}}) {
    int fault = -1;
    for (bool failed = true; failed && fault < 100;) {
      file.SetBytes("old");
      FaultyDisk disk;
      disk.longest_move = longest_move;
      disk.failing_call = ++fault;
      bstr_cBinary_fstream stream(file.Path());
      auto& in = stream.Input();
      auto& out = stream.Output();
      EXPECT_TRUE(in.bGood() == (fault > 0) && out.bGood() == (fault > 0));
      failed = !use(in, out);
      EXPECT_EQ(failed, !in.bGood() || !out.bGood()) << fault;
      disk.failing_call = -1;
      EXPECT_EQ(use(in, out), fault > 0) << "the next seek recovers from a failure of call " << fault;
    }
    EXPECT_EQ(fault, longest_move == far ? 5 : 24);
  }
}

}  // namespace
