// The guard decided from a repository's configuration listing, and which configuration files can
// be trusted to read the same twice.
#include "command/git_guard.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "command/trusted_file.h"
#include "git_samples.h"

namespace {

using namespace std::string_literals;

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (std::size_t i = 0; i < words.size(); ++i) out += (words[i] == "-c" ? "" : "[" + words[i] + "]");
  return out;
}

const std::string kFixed =
    "[core.fsmonitor=false][core.hooksPath=/dev/null][log.showSignature=false][lfs.url=file:///dev/null/no-transfers]";

std::string local(const std::string& record) { return "local\0file:/r/.git/config\0"s + record + '\0'; }
std::string global(const std::string& record) { return "global\0file:/h/.gitconfig\0"s + record + '\0'; }

// A setting the repository's own scopes give takes the user's value, or the one that switches it
// off; the user's own settings and other keys are left to git. Any subsection name git accepts is
// covered, the empty one included.
TEST(Guard, OverridesWhatTheRepositoryChose) {
  const std::pair<std::string, std::string> table[] = {
      {"", "[blame]"},
      {global("filter.lfs.clean\ngit-lfs clean -- %f") + local("filter.lfs.clean\nevil"),
       "[filter.lfs.clean=git-lfs clean -- %f][blame]"},
      {local("filter.x.smudge\nevil") + "worktree\0file:/r/.git/config.worktree\0filter.x.process\nevil\0"s +
           local("filter.x.required"),
       "[filter.x.smudge=][filter.x.process=][filter.x.required=false][blame]"},
      {local("diff.A.b.textconv\nevil") + global("diff.A.b.textconv\nmine") + global("diff.A.b.textconv\nlast"),
       "[diff.A.b.textconv=last][blame]"},
      {local("diff.x.textconv\nevil") + global("filter.y.required") + local("filter.y.required\nfalse"),
       "[diff.x.textconv=cat][filter.y.required=true][blame]"},
      {global("filter.lfs.smudge\ngit-lfs smudge") + local("core.editor\nevil") + local("diffx.y.textconv\nevil"), "[blame]"},
      // Odd subsection names: empty, dots, quotes, blanks, not ASCII.
      {local("filter..clean\nevil") + local("diff..textconv\nevil") + local("filter.a.b.smudge\nevil") +
           local("diff.\"q\" 'r'.textconv\nevil") + local("filter. \t.process\nevil") +
           local("diff.caf\xc3\xa9.textconv\nevil"),
       "[filter..clean=][diff..textconv=cat][filter.a.b.smudge=][diff.\"q\" 'r'.textconv=cat][filter. \t.process=]"
       "[diff.caf\xc3\xa9.textconv=cat][blame]"},
      // What the user's Git LFS filter would read from the repository's configuration.
      {local("lfs.customtransfer.Evil.path\nx") + local("lfs.CustomTransfer.evil.args\nx") +
           local("lfs.standalonetransferagent\nevil") + local("lfs.extension.e.clean\nx") + local("lfs.storage\n/x") +
           local("remote.origin.lfsurl\nhttps://x") + local("remote.o.lfspushurl\nx") + local("core.sshcommand\nx") +
           local("lfs.url\nhttps://x") + local("lfs.other.path\nkept"),
       "[lfs.customtransfer.Evil.path=][lfs.CustomTransfer.evil.args=][lfs.standalonetransferagent=]"
       "[lfs.extension.e.clean=][lfs.storage=][remote.origin.lfsurl=file:///dev/null/no-transfers]"
       "[remote.o.lfspushurl=file:///dev/null/no-transfers][core.sshcommand=ssh][blame]"},
      // Files the commands read; blame's ignore files are a list only its own option empties.
      {local("mailmap.file\n/dev/zero") + local("core.attributesfile\n/dev/zero") + global("diff.orderfile\nmine") +
           local("diff.orderfile\n/dev/zero") + global("blame.ignorerevsfile\na") + global("blame.ignorerevsfile\nb") +
           local("blame.ignorerevsfile\n/dev/zero") + local("blame.ignorerevsfile.x\nkept") +
           global("blame.ignorerevsfile\n~/c"),
       "[mailmap.file=][core.attributesfile=][diff.orderfile=mine][blame][--no-ignore-revs-file]"
       "[--ignore-revs-file=a][--ignore-revs-file=b][--ignore-revs-file=/h/c]"}};
  for (const auto& [listing, expected] : table) {
    const tarnwick::Guard guard = tarnwick::decideGuard(listing, "/r/.git", "/r/.git", "/h");
    EXPECT_TRUE(guard.safe);
    EXPECT_EQ(joined(guard.command({"blame"})), kFixed + expected) << listing;
  }
  EXPECT_FALSE(tarnwick::decideGuard(local("filter.a=b.clean\nevil"), "/r/.git", "/r/.git", "/h").safe);
}

// The files git reads the repository's configuration from: its config, its worktree's when the
// extension says so, and every file they include, wherever it is named; the user's apart.
TEST(Guard, KnowsTheFilesTheConfigurationCameFrom) {
  const std::string listing = local("include.path\n../inc") + local("includeif.gitdir:/r/.path\n/abs") +
                              local("include.path\n#odd") + local("includeif.onbranch:main.path\n~/home-inc") +
                              local("extensions.worktreeconfig") +
                              "local\0file:/r/.git/../inc\0include.path\nnested/x\0"s + global("include.path\nmine");
  const tarnwick::Guard guard = tarnwick::decideGuard(listing, "/r/.git/worktrees/w", "/r/.git", "/h");
  EXPECT_TRUE(guard.safe);
  EXPECT_EQ(joined(guard.repositoryFiles), "[/r/.git/config][/r/.git/../inc][/abs][/r/.git/#odd][/h/home-inc]"
                                           "[/r/.git/../nested/x][/r/.git/worktrees/w/config.worktree]");
  EXPECT_EQ(joined(guard.userFiles), "[/h/.gitconfig]");
  EXPECT_EQ(guard.lfsObjects, "/r/.git/lfs/objects");
  EXPECT_EQ(tarnwick::decideGuard(global("lfs.storage\nstore"), "/r/.git", "/r/.git", "/h").lfsObjects,
            "/r/.git/store/objects");
  for (const char* elsewhere : {"include.path\n~other/x", "include.path\n%(prefix)/etc/x"}) {
    EXPECT_FALSE(tarnwick::decideGuard(local(elsewhere), "/r/.git", "/r/.git", "/h").safe) << elsewhere;
  }
}

// A file is trusted when nobody but this user or root can make it read otherwise: not a FIFO or
// a device, not writable by others, not in a folder others may write (a shared, sticky one only
// for what belongs to the user), links followed.
TEST(TrustedFile, OnlyFilesNobodyElseCanChange) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to give files to another user";
  namespace fs = std::filesystem;
  const std::string top = fs::canonical(reference::makeTempFolder()).string();
  const auto file = [&](const std::string& name, unsigned mode, uid_t owner = 0) {
    const std::string path = top + "/" + name;
    reference::runShell("mkdir -p \"$(dirname '" + path + "')\" && : > '" + path + "'");
    EXPECT_EQ(chmod(path.c_str(), mode) | chown(path.c_str(), owner, 0), 0);
    return path;
  };
  reference::runShell("cd '" + top + "' && mkfifo fifo && mkdir -m 0777 open && mkdir -m 01777 shared && ln -s open link-to-open");
  const std::pair<std::string, bool> table[] = {
      {file("plain", 0644), true}, {top + "/missing", true}, {top + "/no/such/folder", true},
      {file("others", 0646), false}, {file("theirs", 0644, 65534), false}, {top + "/fifo", false}, {"/dev/zero", false},
      {file("open/x", 0644), false}, {top + "/open/missing", false}, {top + "/link-to-open/x", false},
      {file("shared/mine", 0644), true}, {file("shared/theirs", 0644, 65534), false}, {top + "/shared/missing", false},
      {top + "/./plain", true}, {top + "/open/../plain", true}, {"relative", false}};
  for (const auto& [path, trusted] : table) {
    tarnwick::FileSignature signature;
    EXPECT_EQ(tarnwick::trustedFile(path, &signature), trusted) << path;
  }
  reference::removeFolder(top);
}

}  // namespace
