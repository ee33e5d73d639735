#include <memory>
#include <mutex>

#include "security/group_cache.h"
#include "time/clock.h"

namespace nym {

struct Nym_acl_group_cache::Entry {
  Nym_security_id trustee;
  std::vector<Nym_security_id> groups;
  Nym_status error;  // detached: shares nothing with any caller's status
};

const Nym_time_period Nym_acl_group_cache::CACHE_TIMEOUT(0, 0, 15, 0, 0);

Nym_acl_group_cache::Nym_acl_group_cache() : m_expiry(impl::utc_seconds()) {}

Nym_acl_group_cache::~Nym_acl_group_cache() { erase(); }

void Nym_acl_group_cache::erase() {
  for (Entry* entry : m_entries) delete entry;
  m_entries.clear();
}

void Nym_acl_group_cache::check_expiry() {
  const int64 now = impl::utc_seconds();
  const int64 timeout = CACHE_TIMEOUT.seconds();
  // A clock set back would otherwise keep the old period, and its entries, until it caught up.
  if (now < m_expiry && now >= m_expiry - timeout) return;
  erase();
  m_expiry = now + timeout;
}

void Nym_acl_group_cache::copy_id_table(const std::vector<Nym_security_id>& from, std::vector<Nym_security_id>& to) {
  to.assign(from.begin(), from.end());
}

bool Nym_acl_group_cache::get_groups(const Nym_security_id& sid, std::vector<Nym_security_id>& groups,
                                     Nym_status& error) {
  // Comparing converts forms and may raise: the guard releases the lock then too.
  std::lock_guard<Nym_critical> hold(m_lock);
  check_expiry();
  groups.clear();
  error.clear();
  for (const Entry* entry : m_entries) {
    if (entry->trustee == sid) {
      copy_id_table(entry->groups, groups);
      error = impl::detached_copy(entry->error);
      return true;
    }
  }
  return false;
}

void Nym_acl_group_cache::set_groups(const Nym_security_id& sid, const std::vector<Nym_security_id>& groups,
                                     const Nym_status& error) {
  // Copies are made before the lock is taken; only the search and the swap happen under it.
  auto fresh = std::make_unique<Entry>(Entry{sid, groups, impl::detached_copy(error)});
  std::lock_guard<Nym_critical> hold(m_lock);
  for (Entry* entry : m_entries) {
    if (entry->trustee == sid) {
      entry->groups.swap(fresh->groups);
      entry->error = fresh->error;
      return;
    }
  }
  m_entries.push_back(fresh.get());
  fresh.release();
}

namespace impl {

Nym_acl_group_cache& library_group_cache() {
  static Nym_acl_group_cache cache;
  return cache;
}

Nym_status detached_copy(const Nym_status& from) {
  std::vector<const Nym_status*> levels;
  for (const Nym_status* level = &from; level != nullptr; level = level->child()) levels.push_back(level);
  Nym_status copy;
  for (auto it = levels.rbegin(); it != levels.rend(); ++it) {
    if (it == levels.rbegin()) {
      copy = (*it)->orig_value();
    } else {
      copy.push((*it)->orig_value());
    }
    for (const Nym_status_arg* arg : **it) copy.add_arg(*arg);
  }
  return copy;
}

}  // namespace impl

}  // namespace nym
