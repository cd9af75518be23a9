#!/usr/bin/env python3
"""What the packages contain of others, with versions and licences.

    packaging/licences.py notices linux|windows   the notices in full, as the licences ask for
    packaging/licences.py copyright               the same for a Debian package (linux)
    packaging/licences.py spdx VERSION            the list for machines (SPDX 2.3, JSON)

The notices come from the Debian and npm packages that the build took the parts from; none of them lies here.
"""
import datetime
import glob
import json
import os
import subprocess
import sys
from typing import NamedTuple

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BOTH, LINUX, WINDOWS = ("linux", "windows"), ("linux",), ("windows",)


class Part(NamedTuple):
    name: str
    package: str  # of Debian, or npm:NAME
    licence: str  # SPDX
    products: tuple
    systems: tuple
    files: tuple  # whose paragraphs of the package's copyright file speak of it; () the whole file
    contained: bool = True  # compiled in; else loaded when the program starts


PARTS = (
    Part("PocketFFT", "gemmi-dev", "BSD-3-Clause", ("ovanlys", "vynhost"), BOTH,
         ("include/gemmi/third_party/pocketfft_hdronly.h",)),
    Part("Boost.Math", "libboost1.74-dev", "BSL-1.0", ("ovanlys",), BOTH, ("libs/math/*",)),
    Part("CLI11", "libcli11-dev", "BSD-3-Clause", ("vynhost",), BOTH, ("*",)),
    Part("toml++", "libtomlplusplus-dev", "MIT", ("vynhost", "libvynhost"), BOTH, ("*", "include/toml++/impl/unicode.h")),
    Part("JSON for Modern C++", "nlohmann-json3-dev", "MIT", ("vynhost", "libvynhost"), BOTH,
         ("*", "include/nlohmann/detail/conversions/to_chars.hpp", "include/nlohmann/detail/output/serializer.hpp")),
    Part("uPlot", "npm:uplot", "MIT", ("vynhost",), BOTH, ()),
    Part("GCC runtime libraries", "g++-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1",
         ("VYNPACKM", "ovanlys", "vynhost", "libvynhost"), WINDOWS, ()),
    Part("MinGW-w64 runtime", "mingw-w64-common", "ZPL-2.1", ("VYNPACKM", "ovanlys", "vynhost", "libvynhost"), WINDOWS, ()),
    Part("zlib", "libz-mingw-w64-dev", "Zlib", ("vynhost", "libvynhost"), WINDOWS, ("*",)),
    Part("zlib", "zlib1g", "Zlib", ("vynhost", "libvynhost"), LINUX, (), contained=False),
    Part("HDF5", "libhdf5-103-1", "BSD-3-Clause", ("vynhost", "libvynhost"), LINUX, (), contained=False),
    Part("libsndfile", "libsndfile1", "LGPL-2.1-or-later", ("vynhost", "libvynhost"), LINUX, (), contained=False),
    Part("libxlsxwriter", "libxlsxwriter4", "BSD-2-Clause", ("vynhost",), LINUX, (), contained=False),
    Part("OpenSSL", "libssl3", "Apache-2.0", ("vynhost", "libvynhost"), LINUX, (), contained=False),
    Part("GCC runtime libraries", "libstdc++6", "GPL-3.0-or-later WITH GCC-exception-3.1",
         ("VYNPACKM", "ovanlys", "vynhost", "libvynhost"), LINUX, (), contained=False),
    Part("GNU C library", "libc6", "LGPL-2.1-or-later", ("VYNPACKM", "ovanlys", "vynhost", "libvynhost"), LINUX, (), contained=False),
)
PRODUCTS = {
    "VYNPACKM": "the module: ten signal-analysis blocks",
    "ovanlys": "the analysis library",
    "vynhost": "the host for the command line",
    "libvynhost": "the host's side as a C library",
    "python3-vynpack": "the blocks for Python",
}
RIGHTS = "All rights reserved by the project's owner."


def from_npm(part, file):
    """A file of a package that the build has fetched."""
    folders = sorted(glob.glob(f"{ROOT}/build/package/*/report/node_modules/{part.package.removeprefix('npm:')}"))
    if not folders:
        sys.exit(f"licences: {part.name} is not there; tools/package builds first")
    with open(f"{folders[0]}/{file}", encoding="utf-8") as text:
        return text.read()


def notices(part):
    """The paragraphs of the copyright file that speak of a part, then the licences they name."""
    if part.package.startswith("npm:"):
        return from_npm(part, "LICENSE").strip()
    with open(f"/usr/share/doc/{part.package}/copyright", encoding="utf-8") as file:
        text = file.read()
    if not part.files:
        return text.strip()
    paragraphs = [p.strip("\n") for p in text.split("\n\n")]
    said, named = [], []
    for paragraph in paragraphs:
        fields = fields_of(paragraph)
        if set(fields.get("files", "").split()) & set(part.files):
            said.append(paragraph)
            named.append(fields["license"].split("\n")[0].strip())
    texts = [p for p in paragraphs if "files" not in fields_of(p) and
             fields_of(p).get("license", "").split("\n")[0].strip() in named]
    if not said or not (texts or any("\n" in fields_of(p)["license"] for p in said)):
        sys.exit(f"licences: {part.package} says nothing about {part.name}")
    return "\n\n".join(said + texts)


def fields_of(paragraph):
    fields, key = {}, None
    for line in paragraph.split("\n"):
        if line[:1] not in (" ", "\t", "#") and ":" in line:
            key, value = line.split(":", 1)
            key = key.lower()
            fields[key] = value.strip()
        elif key:
            fields[key] += "\n" + line
    return fields


def contained(system):
    return [part for part in PARTS if part.contained and system in part.systems]


def print_notices(system):
    print("What these programs contain of others, with the notices that go with it.")
    for part in contained(system):
        head = f"{part.name} ({part.licence}), in {', '.join(part.products)}"
        print(f"\n\n{'=' * 100}\n{head}\n{'=' * 100}\n")
        print(notices(part))


def print_copyright():
    print("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
          "Upstream-Name: Vynpack\n"
          "Comment: Parts of others that the programs contain follow with their own licences.\n\n"
          "Files: *\n"
          "Copyright: the project's owner\n"
          "License: all-rights-reserved\n"
          f" {RIGHTS}\n"
          " Nobody but those whom the owner allows may copy, change or pass on these files.\n")
    for part in contained("linux"):
        print(f"Comment: {part.name}, compiled into {', '.join(part.products)}. Its own package says of it:")
        for line in notices(part).split("\n"):
            print(f" {line.strip() or '.'}")
        print()


def version_of(part):
    package = part.package
    if package.startswith("npm:"):
        return json.loads(from_npm(part, "package.json"))["version"]
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True, capture_output=True,
                          text=True).stdout


def spdx(version):
    time = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    packages, relations = [], []
    for name, summary in PRODUCTS.items():
        packages.append({
            "SPDXID": f"SPDXRef-{name}", "name": name, "versionInfo": version, "summary": summary,
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "copyrightText": RIGHTS,
            "licenseConcluded": "LicenseRef-all-rights-reserved", "licenseDeclared": "LicenseRef-all-rights-reserved"})
        relations.append(("SPDXRef-DOCUMENT", "DESCRIBES", f"SPDXRef-{name}", ""))
    relations.append(("SPDXRef-VYNPACKM", "DEPENDS_ON", "SPDXRef-ovanlys", "loaded by name"))
    relations.append(("SPDXRef-vynhost", "DEPENDS_ON", "SPDXRef-VYNPACKM", "loaded by name"))
    relations.append(("SPDXRef-libvynhost", "DEPENDS_ON", "SPDXRef-VYNPACKM", "loaded by name"))
    relations.append(("SPDXRef-python3-vynpack", "DEPENDS_ON", "SPDXRef-libvynhost", "loaded by name"))
    for part in PARTS:
        identity = "SPDXRef-" + part.package.replace("+", "-plus").replace(":", "-")
        found = version_of(part)
        kind_of_package = "npm" if part.package.startswith("npm:") else "deb/debian"
        packages.append({
            "SPDXID": identity, "name": part.name, "versionInfo": found, "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "copyrightText": "NOASSERTION",
            "licenseConcluded": part.licence, "licenseDeclared": part.licence,
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": f"pkg:{kind_of_package}/{part.package.removeprefix('npm:')}@{found}".replace("+", "%2B")}]})
        kind = "CONTAINS" if part.contained else "DYNAMIC_LINK"
        where = "" if part.systems == BOTH else f"{part.systems[0].capitalize()} only"
        relations += [(f"SPDXRef-{product}", kind, identity, where) for product in part.products]
    json.dump({
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"vynpack-{version}", "documentNamespace": f"urn:vynpack:spdx:{version}:{int(time.timestamp())}",
        "creationInfo": {"created": time.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: vynpack-licences"]},
        "hasExtractedLicensingInfos": [{"licenseId": "LicenseRef-all-rights-reserved", "extractedText": RIGHTS}],
        "packages": packages,
        "relationships": [
            {"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b, **({"comment": c} if c else {})}
            for a, kind, b, c in relations],
    }, sys.stdout, indent=1, ensure_ascii=False)
    print()


def main():
    words = sys.argv[1:]
    if words[:1] == ["notices"] and len(words) == 2 and words[1] in BOTH:
        print_notices(words[1])
    elif words == ["copyright"]:
        print_copyright()
    elif words[:1] == ["spdx"] and len(words) == 2:
        spdx(words[1])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
