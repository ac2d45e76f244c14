# What the scripts share. Sourced, not run.
#
# The scripts work from any folder, with an empty environment and without a terminal.

export PATH="${PATH:+$PATH:}/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
export LC_ALL=C.UTF-8

tree="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="$(nproc)"

die() {
  echo "${0##*/}: $*" >&2
  exit 1
}

# packages_for PURPOSE...: the packages of scripts/packages.txt for these purposes, one per line.
packages_for() {
  local purpose found
  for purpose; do
    found="$(sed -n "s/^$purpose: //p" "$tree/scripts/packages.txt" | tr ' ' '\n')"
    [[ -n "$found" ]] || die "scripts/packages.txt names no packages for '$purpose'"
    echo "$found"
  done
}

# missing_packages PACKAGE...: those that are not installed, one per line.
missing_packages() {
  local package
  for package; do
    case "$(dpkg-query -W -f='${db:Status-Status} ' "$package" 2>/dev/null)" in
      installed*) ;;
      *) echo "$package" ;;
    esac
  done
}

# as_root COMMAND...: directly when we are root, else through sudo, which asks for a password only
# when there is a terminal to ask on.
as_root() {
  local ask=()
  if [[ "$(id -u)" == 0 ]]; then
    env DEBIAN_FRONTEND=noninteractive "$@"
  else
    [[ -t 0 ]] || ask=(-n)
    sudo "${ask[@]}" env DEBIAN_FRONTEND=noninteractive "$@"
  fi
}

# install_packages PURPOSE...: installs what is missing for these purposes, and says so.
# A subshell, so that what goes wrong ends this and not its caller.
install_packages() (
  local names wanted missing
  names="$(packages_for "$@")" || exit 1
  mapfile -t wanted <<<"$names"
  command -v dpkg-query >/dev/null ||
    die "this is no Debian; install by other means: ${wanted[*]}"
  mapfile -t missing < <(missing_packages "${wanted[@]}")
  if ((${#missing[@]} == 0)); then
    echo "all ${#wanted[@]} packages are there already"
    exit 0
  fi
  echo "installing ${missing[*]}"
  [[ "$(id -u)" == 0 ]] || command -v sudo >/dev/null ||
    die "neither root nor sudo; as root, run: apt-get install ${missing[*]}"
  # An update that fails may still leave package lists that are good enough.
  as_root apt-get -q update || echo "apt-get update failed; trying with the lists that are there"
  as_root apt-get -q -y --no-install-recommends -o DPkg::Lock::Timeout=300 \
    install "${missing[@]}" ||
    die "apt-get could not install them; as root, run: apt-get install ${missing[*]}"
)
