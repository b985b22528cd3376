#!/usr/bin/env bash
# Installs a build into a temporary folder and uses it as a host would: with
# find_package and with pkg-config. Run by ctest, which names the arguments.
set -euo pipefail

source_folder=$1 build_folder=$2 cmake=$3 generator=$4 compiler=$5 flags=$6
message=$source_folder/examples/messages/04-type-cases.eml

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
prefix=$folder/installed

fail() {
  echo "install_test: $1" >&2
  [[ $# -lt 2 ]] || cat "$2" >&2
  exit 1
}

# Runs a command; its output is of interest only when it fails.
quietly() {
  "$@" >"$folder/log" 2>&1 || fail "failed: $*" "$folder/log"
}

configure() {  # SOURCE BUILD
  "$cmake" -S "$1" -B "$2" -G "$generator" -D CMAKE_BUILD_TYPE=Release \
    -D CMAKE_CXX_COMPILER="$compiler" -D CMAKE_CXX_FLAGS="$flags" \
    -D CMAKE_PREFIX_PATH="$prefix"
}

check_output() {  # PROGRAM
  "$1" "$message" >"$folder/output" || fail "$1 failed"
  local line
  for line in 'From: 岡部 純 <jun@heronpress.example.org>' \
    'Subject: 活字の引っ越しについて：七番の箱のこと' \
    'ストーブの横に棚を作りたいのですが、板は余っていますか。'; do
    grep -qxF "$line" "$folder/output" || fail "missing: $line" "$folder/output"
  done
}

quietly "$cmake" --install "$build_folder" --prefix "$prefix"
pkg_config_folder=$(dirname "$(find "$prefix" -name quillhaven-mail.pc)")
# Shared libraries are found here as ldconfig would have them found.
export LD_LIBRARY_PATH=${pkg_config_folder%/*}
if find "$prefix" -path '*internal*' | grep -q .; then
  fail "internal headers were installed"
fi

# Every installed header compiles alone, with nothing but what is installed; Qt's
# own headers are for those of the user interface alone. One build shows it; those under sanitizers install the same headers.
compile_header() {  # HEADER
  local qt=()
  case $1 in
    */quillhaven/ui/* | */quillhaven/devtools/*) read -ra qt <<<"$qt_flags" ;;
  esac
  echo "#include <${1#"$prefix/include/"}>" |
    "$compiler" -std=c++20 -Wall -Wextra -fsyntax-only -x c++ \
      -I"$prefix/include" "${qt[@]}" -
}
qt_flags=
if [[ -e $prefix/include/quillhaven/ui ]] && command -v pkg-config >/dev/null; then
  qt_flags="-fPIC $(pkg-config --cflags Qt6Widgets)"
fi
export -f compile_header
export qt_flags
export prefix compiler
if [[ -z $flags ]]; then
  find "$prefix/include" -name '*.h' -print0 |
    xargs -0 -P 2 -I '{}' bash -c 'compile_header "$1"' _ '{}' \
      >"$folder/log" 2>&1 || fail "a header does not compile alone" "$folder/log"
fi

# find_package, with the component that is there and with one that is not.
quietly configure "$source_folder/examples" "$folder/examples"
quietly "$cmake" --build "$folder/examples"
check_output "$folder/examples/parse_message"

mkdir "$folder/wrong"
cat >"$folder/wrong/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(Wrong LANGUAGES CXX)
find_package(QuillhavenUtilities REQUIRED COMPONENTS mail telegraphy)
END
if configure "$folder/wrong" "$folder/wrong/build" >"$folder/log" 2>&1; then
  fail "a component that does not exist was found"
fi
grep -q telegraphy <(grep -v COMPONENTS "$folder/log") ||
  fail "the missing component is not named" "$folder/log"

# A host of the mail component links ICU and what every C++ program links.
if [[ -z $flags ]] && command -v readelf >/dev/null; then
  readelf -d "$folder/examples/parse_message" |
    sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' >"$folder/needed"
  if grep -vE '^(libicu.*|libquillhaven_.*|libstdc\+\+|libm|libgcc_s|libc|ld-linux.*)\.so' \
    "$folder/needed" >"$folder/others"; then
    fail "the mail component links more than ICU:" "$folder/others"
  fi
  grep -qE '^lib(icu|quillhaven_)' "$folder/needed" || fail "ICU is not linked"
fi

# A host beside the installed catalogue sees it, wherever the prefix was moved.
if [[ -e $build_folder/share/locale/de ]]; then
  mkdir "$folder/german"
  cat >"$folder/german/german.cc" <<'END'
#include <quillhaven/identity/keychain_error.h>

#include <clocale>
#include <iostream>

int main() {
  std::setlocale(LC_ALL, "");
  const auto error = quillhaven::identity::KeychainError::status(-128);
  std::cout << error.recoverySuggestion().value() << '\n';
}
END
  cat >"$folder/german/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(German LANGUAGES CXX)
find_package(QuillhavenUtilities REQUIRED COMPONENTS identity_errors)
add_executable(german german.cc)
target_link_libraries(german PRIVATE Quillhaven::identity_errors)
END
  quietly configure "$folder/german" "$folder/german/build"
  quietly "$cmake" --build "$folder/german/build"
  mkdir -p "$prefix/bin"
  cp "$folder/german/build/german" "$prefix/bin"
  LC_ALL=C.UTF-8 LANGUAGE=de "$prefix/bin/german" >"$folder/output"
  grep -qF 'Bitte gewähren Sie den Zugriff' "$folder/output" ||
    fail "the installed translation is not seen" "$folder/output"
fi

# A host that keeps passwords gets what the keychain room stands on.
mkdir "$folder/keychain"
cat >"$folder/keychain/keychain.cc" <<'END'
#include <quillhaven/identity/keychain.h>

#include <iostream>

int main() {
  quillhaven::identity::Keychain keychain("com.example.host");
  keychain.save("kept", std::nullopt, false);
  std::cout << keychain.password(std::nullopt, false).value() << '\n';
}
END
cat >"$folder/keychain/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(KeychainHost LANGUAGES CXX)
find_package(QuillhavenUtilities REQUIRED COMPONENTS identity_keychain)
add_executable(keychain keychain.cc)
target_link_libraries(keychain PRIVATE Quillhaven::identity_keychain)
END
quietly configure "$folder/keychain" "$folder/keychain/build"
quietly "$cmake" --build "$folder/keychain/build"
QUILLHAVEN_KEYCHAIN=sealed-file XDG_DATA_HOME=$folder/data \
  "$folder/keychain/build/keychain" >"$folder/output" ||
  fail "a host cannot keep a password"
grep -qxF kept "$folder/output" || fail "a password is lost" "$folder/output"

# A host with a user interface gets Qt, and what a static library would lose: the
# resources.
if [[ -e $prefix/include/quillhaven/ui ]]; then
  mkdir "$folder/ui"
  cat >"$folder/ui/ui.cc" <<'END'
#include <quillhaven/ui/animating_text_field.h>
#include <quillhaven/ui/images.h>

#include <QApplication>
#include <iostream>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  quillhaven::ui::AnimatingTextField field;
  std::cout << field.property("stringValue").toString().toStdString() << ' '
            << quillhaven::ui::demoImage().width() << '\n';
}
END
  cat >"$folder/ui/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(UIHost LANGUAGES CXX)
find_package(QuillhavenUtilities REQUIRED COMPONENTS ui)
add_executable(ui ui.cc)
target_link_libraries(ui PRIVATE Quillhaven::ui)
END
  quietly configure "$folder/ui" "$folder/ui/build"
  quietly "$cmake" --build "$folder/ui/build"
  QT_QPA_PLATFORM=offscreen "$folder/ui/build/ui" >"$folder/output" \
    2>"$folder/log" ||
    fail "a host with a user interface cannot run" "$folder/log"
  grep -qxF 'Label 64' "$folder/output" ||
    fail "resources are lost" "$folder/output"
fi

if command -v pkg-config >/dev/null; then
  export PKG_CONFIG_PATH=$pkg_config_folder
  # Only this test moves what was installed, so only here the prefix differs.
  pkg_config() {
    pkg-config --define-variable=prefix="$prefix" "$@"
  }
  build_with() {  # MODULE SOURCE PROGRAM
    local compile_flags link_flags
    read -ra compile_flags <<<"$flags $(pkg_config --cflags "$1")"
    read -ra link_flags <<<"$(pkg_config --libs "$1")"
    quietly "$compiler" -std=c++20 "${compile_flags[@]}" "$2" -o "$3" \
      "${link_flags[@]}"
  }
  build_with quillhaven-mail "$source_folder/examples/parse_message.cc" \
    "$folder/parse_message"
  check_output "$folder/parse_message"

  # Each component says itself what it needs.
  [[ -z $flags ]] || exit 0
  echo 'int main() {}' >"$folder/empty.cc"
  for file in "$pkg_config_folder"/quillhaven-*.pc; do
    module=${file##*/}
    build_with "${module%.pc}" "$folder/empty.cc" "$folder/empty"
  done
fi
