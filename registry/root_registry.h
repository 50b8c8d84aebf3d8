// The root registry: names of the definitions from which hierarchical paths start.
#pragma once

#include <map>
#include <string>

// Root name -> definition id. The GDF `root` statement registers its
// definition under "default". A database-backed variant loads and saves the entries.
class ZELT_RootRegistry {
 public:
  ZELT_RootRegistry();

  void Reset();
  // Sets the entry, inserting it or replacing the id of an existing one; always succeeds.
  bool Add(const std::string& name, long def_id);
  // True when there was an entry to remove.
  bool Delete(const std::string& name);
  // The definition id of the name, or -1.
  long Find(const std::string& name) const;

 protected:
  std::map<std::string, long> _name_2_def_id;
};
