#include "engines/LVPrivilegedPackageCheck.h"

#include "platform/Platform.h"

namespace {

// $1 package, $2 expected digest, $3 installer, $4 folder for the copy, then the digest command.
constexpr const char* kScript = R"(export LC_ALL=C
package=$1 expected=$2 installer=$3 parent=$4
shift 4
mkdir -p "$parent" || exit 1
copy=$(mktemp -d "$parent/lumivane-install.XXXXXXXX") || exit 1
trap 'rm -rf "$copy"' EXIT
name=${package##*/}
cp "$package" "$copy/$name" || exit 1
actual=$("$@" < "$copy/$name") || exit 1
actual=${actual%% *}
if [ "$actual" != "$expected" ]; then
    echo "LVChecksumMismatch $actual"
    exit 1
fi
"$installer" -pkg "$copy/$name" -target /
)";

} // namespace

QStringList LVPrivilegedPackageCheck::shellArguments(const QString& package, const QString& expected)
{
    const CommandLineTools& tools = Platform::commandLineTools();
    return QStringList{QStringLiteral("-c"),
                       QString::fromLatin1(kScript),
                       QStringLiteral("lumivane-install"),
                       package,
                       expected,
                       tools.installerPath(),
                       Platform::systemInfo().pathInSystemRoot(QStringLiteral("/private/var/tmp"))} +
           tools.sha256Command();
}
