#include "tools/egbb_gaviota/tables.h"

#include <gtb-probe.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace egbb_gaviota {

namespace {

// Scheme 4 is what Gaviota tables are normally distributed in.
constexpr int schemes[] = {tb_CP4, tb_CP3, tb_CP2, tb_CP1};
// Share of the cache for win/draw/loss data, in 128ths; the distance
// probes use the rest.
constexpr int WDL_FRACTION = 32;
constexpr int QUIET = 0;

const char** paths = nullptr;
bool opened = false;

void release_paths() {
  if (paths) paths = tbpaths_done(paths);
  paths = nullptr;
}

// tb_init the first time, tb_restart after: the probing code may outlive
// an unload of this library when the process holds it too.
void start(int scheme) {
  if (tb_is_initialized())
    tb_restart(QUIET, scheme, paths);
  else
    tb_init(QUIET, scheme, paths);
}

void start_cache(std::size_t bytes) {
  if (tbcache_is_on())
    tbcache_restart(bytes, WDL_FRACTION);
  else
    tbcache_init(bytes, WDL_FRACTION);
}

}  // namespace

bool open_tables(const char* folder, std::size_t cache_bytes) {
  close_tables();
  const std::string base = folder ? folder : "";
  // The probing code keeps paths of at most tb_MAXPATHLEN characters.
  const std::size_t room = tb_MAXPATHLEN - 1 - std::strlen(TABLES_SUBFOLDER) - 1;
  if (base.size() > room) {
    std::fprintf(stderr, "egbb: folder name too long (%zu characters): no tables\n", base.size());
    return false;
  }
  std::string sub = base;
  if (!sub.empty() && sub.back() != '/') sub += '/';
  sub += TABLES_SUBFOLDER;
  paths = tbpaths_init();
  // An empty name would mean the current directory to the probing code;
  // the folder then is the current directory, as it is for file names.
  paths = tbpaths_add(paths, base.empty() ? "." : base.c_str());
  paths = tbpaths_add(paths, sub.c_str());
  if (!paths) {
    std::fprintf(stderr, "egbb: out of memory: no tables\n");
    return false;
  }
  for (const int scheme : schemes) {
    start(scheme);
    if (tb_availability() != 0) {
      start_cache(cache_bytes < MIN_CACHE_BYTES ? MIN_CACHE_BYTES : cache_bytes);
      opened = true;
      return true;
    }
  }
  std::fprintf(stderr, "egbb: no Gaviota tables in \"%s\" or \"%s\"\n", base.c_str(), sub.c_str());
  tb_done();
  release_paths();
  return false;
}

bool tables_open() { return opened; }

void close_tables() {
  if (tbcache_is_on()) tbcache_done();
  if (tb_is_initialized()) tb_done();
  release_paths();
  opened = false;
}

}  // namespace egbb_gaviota
