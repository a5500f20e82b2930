#include "host/user/zrloginsecurity.h"

#include <algorithm>
#include <array>
#include <functional>
#include <unordered_map>
#include <unordered_set>

#include "host/tools/zrtext.h"

namespace {

// Of texts and of views on them, so that a question needs no copy.
template <typename Character>
struct tagHash {
  using is_transparent = void;
  std::size_t operator()(std::basic_string_view<Character> text) const {
    return std::hash<std::basic_string_view<Character>>()(text);
  }
};

using tagIds = std::unordered_set<std::wstring, tagHash<wchar_t>, std::equal_to<>>;

// The place of a type among the kinds; their number for another one.
std::size_t PlaceOf(int type) {
  const auto* const found =
      std::find_if(kResourceKinds.begin(), kResourceKinds.end(),
                   [type](const ZRResourceKind& kind) { return kind.type == type; });
  return static_cast<std::size_t>(found - kResourceKinds.begin());
}

// What somebody may do, to be asked quickly.
class CGranted {
 public:
  explicit CGranted(const ZRGrants& grants) : administrator(grants.administrator) {
    for (const auto& [type, ids] : grants.rights) {
      const std::size_t place = PlaceOf(type);
      if (place < kinds.size()) kinds[place] = Granted(ids);
    }
  }

  [[nodiscard]] bool Has(std::size_t place, std::wstring_view id) const {
    if (administrator) return true;
    return place < kinds.size() && (kinds[place].all || kinds[place].ids.contains(id));
  }

 private:
  struct tagGranted {
    bool all = false;
    tagIds ids;
  };

  static tagGranted Granted(const std::set<std::string>& texts) {
    tagGranted granted;
    granted.all = texts.contains(std::string(ZRGrants::kAll));
    for (const std::string& text : texts)
      granted.ids.emplace(Utf8ToUtf16(std::string_view(text)).View());
    return granted;
  }

  bool administrator;
  std::array<tagGranted, kResourceKinds.size()> kinds;
};

// A user with what he and his roles may do.
class CUser final : public ZRUser {
 public:
  CUser(const std::string& called, const ZRGrants& own)
      : ZRUser(Utf8ToUtf16(std::string_view(called))), granted(own) {}

  void AddRole(const CGranted& role) { roles.push_back(&role); }
  [[nodiscard]] bool MayUse(int type, std::wstring_view id) const {
    const std::size_t place = PlaceOf(type);
    return granted.Has(place, id) ||
           std::any_of(roles.begin(), roles.end(),
                       [&](const CGranted* role) { return role->Has(place, id); });
  }

 private:
  const CGranted granted;
  std::vector<const CGranted*> roles;
};

}  // namespace

// One state of the logins. Never changed.
class ZRLoginSecurity::CSnapshot {
 public:
  CSnapshot(const ZRLogins& toKeep, bool isOn)
      : logins(toKeep), enabled(isOn || !toKeep.users.empty()) {
    for (const auto& [name, grants] : logins.roles)
      roles.try_emplace(name, grants);
    for (const auto& [name, login] : logins.users)
      AddUser(name, login);
  }

  [[nodiscard]] const CUser* User(std::string_view name) const {
    const auto found = users.find(name);
    return found != users.end() ? &found->second : nullptr;
  }

  const ZRLogins logins;
  const bool enabled;

 private:
  void AddUser(const std::string& name, const ZRLogin& login) {
    CUser& user = users.try_emplace(name, name, login.grants).first->second;
    for (const std::string& role : login.roles) {
      const auto found = roles.find(role);
      if (found != roles.end()) user.AddRole(found->second);
    }
  }

  std::map<std::string, CGranted> roles;
  std::unordered_map<std::string, CUser, tagHash<char>, std::equal_to<>> users;
};

ZRLoginSecurity::ZRLoginSecurity() {
  snapshots.push_back(std::make_unique<const CSnapshot>(ZRLogins(), false));
  current.store(snapshots.back().get(), std::memory_order_release);
}

ZRLoginSecurity::~ZRLoginSecurity() = default;

void ZRLoginSecurity::Take(const ZRLogins& logins) {
  const CSnapshot& before = *snapshots.back();
  if (before.logins == logins) return;
  snapshots.push_back(std::make_unique<const CSnapshot>(logins, before.enabled));
  current.store(snapshots.back().get(), std::memory_order_release);
}

bool ZRLoginSecurity::Enabled() const {
  return current.load(std::memory_order_acquire)->enabled;
}

const ZRUser* ZRLoginSecurity::User(const ZRWString& name, int /*reserved*/) const {
  const ZRString narrow = Utf16ToUtf8(name.View());
  return current.load(std::memory_order_acquire)->User(narrow.View());
}

bool ZRLoginSecurity::CanAccessResource(const ZRResource& resource, const ZRUser& user) const {
  return static_cast<const CUser&>(user).MayUse(resource.Type(), resource.Id().View());
}

bool ZRLoginSecurity::MayUse(std::string_view user, int type, std::wstring_view id) const {
  const CSnapshot& snapshot = *current.load(std::memory_order_acquire);
  if (!snapshot.enabled) return true;
  const CUser* const known = snapshot.User(user);
  return known != nullptr && known->MayUse(type, id);
}

const ZRLogins& ZRLoginSecurity::Logins() const {
  return current.load(std::memory_order_acquire)->logins;
}
