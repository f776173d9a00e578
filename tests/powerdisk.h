#pragma once

#include <map>

#include "disk.h"

/// A disk in memory that remembers what was synced, in place of the system's while it lives. After a power
/// cut it holds what was synced and any part of what was not.
class PowerDisk {
 public:
  /// Path and contents of each file.
  using Image = std::map<std::string, std::string>;

  explicit PowerDisk(const Image& image = {})
      : calls_(std::exchange(detail::file_calls,
                             {Open, ReadAt, WriteAt, Size, ChangeTime, PathNames, Close, Sync, SyncName})),
        outer_(std::exchange(state_, State{})) {
    for (const auto& [path, bytes] : image) {
      state_.files[path] = std::make_shared<File>(File{bytes, bytes, {}, true});
    }
  }
  PowerDisk(const PowerDisk&) = delete;
  PowerDisk& operator=(const PowerDisk&) = delete;
  ~PowerDisk() {
    detail::file_calls = calls_;
    state_ = std::move(outer_);
  }

  /// Called before each call that changes something, and after each sync.
  static void SetWatch(std::function<void()> watch) { state_.watch = std::move(watch); }
  /// From now on syncs fail, and drop what they should have brought to the disk.
  static void FailSyncs() { state_.syncs_fail = true; }

  /// What a power cut could leave now. Writes that were not synced are torn into pieces of `sector` bytes;
  /// any of these arrive, in any order.
  static Image Cut(std::mt19937& random, std::int64_t sector) {
    Image image;
    for (const auto& [path, file] : state_.files) {
      if (!file->named && random() % 2 == 0) continue;
      image[path] = Remains(*file, random, sector);
    }
    return image;
  }

 private:
  /// At `position` -1 a file is emptied.
  struct Change {
    std::int64_t position;
    std::string bytes;
  };
  struct File {
    std::string durable, visible;
    std::vector<Change> changes;  // since the last sync
    bool named = false;           // its name is on the disk
  };
  struct State {
    std::map<std::string, std::shared_ptr<File>> files;
    std::vector<std::shared_ptr<File>> open;
    std::function<void()> watch;
    bool syncs_fail;
  };

  static void Apply(const Change& change, std::string& bytes) {
    if (change.position < 0) return bytes.clear();
    const auto at = static_cast<std::size_t>(change.position);
    if (bytes.size() < at + change.bytes.size()) bytes.resize(at + change.bytes.size());
    bytes.replace(at, change.bytes.size(), change.bytes);
  }

  static std::string Remains(const File& file, std::mt19937& random, std::int64_t sector) {
    const auto arriving = random() % 5;  // quarters
    // Often nothing arrives from some place on: lists and header, but not the data.
    const auto end_of_arriving =
        static_cast<std::int64_t>(random() % 2 == 0 ? random() % (file.visible.size() + 1) : largest);
    std::vector<Change> pieces;
    for (const Change& change : file.changes) {
      const std::int64_t end = change.position + std::ssize(change.bytes);
      for (std::int64_t begin = change.position, next; begin < std::max(end, begin + 1); begin = next) {
        next = begin < 0 ? end : std::min((begin / sector + 1) * sector, end);
        const auto first = static_cast<std::size_t>(begin - change.position);
        if (random() % 4 < arriving && begin < end_of_arriving) {
          pieces.push_back({begin, change.bytes.substr(first, static_cast<std::size_t>(next - begin))});
        }
        if (next == end) break;
      }
    }
    if (random() % 2 == 0) std::shuffle(pieces.begin(), pieces.end(), random);
    std::string bytes = file.durable;
    for (const Change& piece : pieces) Apply(piece, bytes);
    if (random() % 3 == 0) bytes.resize(std::max(bytes.size(), file.visible.size()));  // but not the contents
    return bytes;
  }

  static void Watch() {
    if (state_.watch) state_.watch();
  }
  static void Do(File& file, Change change) {
    Apply(change, file.visible);
    file.changes.push_back(std::move(change));
  }
  static File& At(std::intptr_t file) { return *state_.open[static_cast<std::size_t>(file)]; }

  static std::intptr_t Open(const char* path, bstr_eAccess access) {
    const bool creates = access != bstr_OpenReadOnly && access != bstr_OpenExisting;
    if (creates) Watch();
    auto& file = state_.files[path];
    if (!file && creates) file = std::make_shared<File>();
    if (!file) {
      state_.files.erase(path);
      return detail::NoFile;
    }
    if (access == bstr_CreateEmpty) Do(*file, {-1, {}});
    state_.open.push_back(file);
    return std::ssize(state_.open) - 1;
  }
  static std::int64_t ReadAt(std::intptr_t file, void* bytes, std::int64_t n, std::int64_t position) {
    const std::string& all = At(file).visible;
    const std::int64_t moved = std::clamp<std::int64_t>(std::ssize(all) - position, 0, n);
    if (moved > 0) std::memcpy(bytes, all.data() + position, static_cast<std::size_t>(moved));
    return moved;
  }
  static std::int64_t WriteAt(std::intptr_t file, detail::Bytes head, detail::Bytes bytes,
                              std::int64_t position) {
    Watch();
    std::string all(head.begin(), head.end());
    all.append(bytes.begin(), bytes.end());
    const std::int64_t n = std::ssize(all);
    Do(At(file), {position, std::move(all)});
    return n;
  }
  static bool Sync(std::intptr_t file) {
    Watch();
    At(file).changes.clear();
    if (state_.syncs_fail) return false;
    At(file).durable = At(file).visible;
    Watch();
    return true;
  }
  static bool SyncName(const char*) {
    Watch();
    for (auto& [path, file] : state_.files) file->named = true;
    return true;
  }
  static std::int64_t Size(std::intptr_t file) { return std::ssize(At(file).visible); }
  static std::int64_t ChangeTime(std::intptr_t) { return 0; }
  static bstr_ePathNames PathNames(std::intptr_t, const char*) { return bstr_NamesTheFile; }
  static void Close(std::intptr_t) {}

  static inline State state_{};
  detail::FileCalls calls_;
  State outer_;
};
