# Makes the package of one built module:
#
#   cmake -DMODULE=… -DARCH=x86|x64 -DOUTPUT=….msi [-DDOCTOR=…] [-DBRIDGE=…] [-DVERSION=…] [-DSTRIP=…] [-DSIGN=…]
#         -P make_package.cmake
#
# Without DOCTOR the package has no doctor. BRIDGE is the build's folder with the native host, its manifests, the packed
# extension and the package's own actions; without it the package has no bridge. VERSION is the product's unless given.
# STRIP is the tool that removes the symbols. SIGN is a command, as a list, that signs the file whose path it gets as
# its last argument: the programs, then the package. The same inputs give the same package and product codes; another
# module gives other codes. If the environment has SOURCE_DATE_EPOCH, the package has that time, and the same inputs
# give the same bytes.
cmake_minimum_required(VERSION 3.25)

foreach(needed IN ITEMS MODULE ARCH OUTPUT)
  if(NOT DEFINED ${needed})
    message(FATAL_ERROR "${needed} is not given")
  endif()
endforeach()
find_program(WIXL wixl)
find_program(MSIBUILD msibuild)
if(NOT WIXL OR NOT MSIBUILD)
  message(FATAL_ERROR "wixl or msibuild is not installed: run `scripts/setup windows` first")
endif()
include("${CMAKE_CURRENT_LIST_DIR}/../cmake/ProductTexts.cmake")
if(NOT DEFINED VERSION)
  set(VERSION "${KSV_FILE_VERSION}")
endif()

# What differs between the two packages; both can be installed side by side.
if(ARCH STREQUAL "x64")
  set(upgrade_code "4E0B1F3C-6D59-4C0E-9B7A-2F7C7D0F5A64")
  set(bits 64)
  set(platform x64)
  set(program_files ProgramFiles64Folder)
  set(win64 yes)
elseif(ARCH STREQUAL "x86")
  set(upgrade_code "B1C54C2D-83A7-4E0F-8C3E-71D60C4D9E32")
  set(bits 32)
  set(platform Intel)
  set(program_files ProgramFilesFolder)
  set(win64 no)
else()
  message(FATAL_ERROR "ARCH is x86 or x64, not ${ARCH}")
endif()

# wixl finds sources beside the one that it reads, and by no full path.
set(stage "${OUTPUT}.stage")
file(REMOVE_RECURSE "${stage}")
file(MAKE_DIRECTORY "${stage}")
file(COPY_FILE "${CMAKE_CURRENT_LIST_DIR}/ksv.wxs" "${stage}/ksv.wxs")
file(COPY_FILE "${CMAKE_CURRENT_LIST_DIR}/ksv.ico" "${stage}/ksv.ico")
file(READ "${CMAKE_CURRENT_LIST_DIR}/readme.txt" text)
string(CONFIGURE "${text}" text @ONLY)
file(CONFIGURE OUTPUT "${stage}/readme.txt" CONTENT "${text}" @ONLY NEWLINE_STYLE CRLF)
set(programs npNorvoWebAPIKSV.dll)
file(COPY_FILE "${MODULE}" "${stage}/npNorvoWebAPIKSV.dll")
if(DOCTOR)
  list(APPEND programs ksv-doctor.exe)
  file(COPY_FILE "${DOCTOR}" "${stage}/ksv-doctor.exe")
endif()
if(BRIDGE)
  # The host lets in the one extension that it was built for.
  file(STRINGS "${BRIDGE}/extension/id" id)
  file(READ "${BRIDGE}/chromium/com.norvo.ksv.json" manifest)
  string(JSON origin GET "${manifest}" allowed_origins 0)
  if(NOT origin STREQUAL "chrome-extension://${id}/")
    message(FATAL_ERROR "The host was built for ${origin}, but the extension is ${id}: "
                        "run `scripts/setup bridge`, then configure this build again")
  endif()
  list(APPEND programs ksv-bridge.exe ksv-setup.dll)
  foreach(file IN ITEMS ksv-bridge.exe ksv-setup.dll extension/ksv.crx extension/ksv.xpi)
    cmake_path(GET file FILENAME name)
    file(COPY_FILE "${BRIDGE}/${file}" "${stage}/${name}")
  endforeach()
  foreach(browser IN ITEMS chromium firefox)
    file(COPY_FILE "${BRIDGE}/${browser}/com.norvo.ksv.json" "${stage}/${browser}.json")
  endforeach()
  # Its address is that of the installation's folder, which the package's action writes.
  file(READ "${BRIDGE}/extension/update.xml" text)
  string(REGEX REPLACE "codebase=\"[^\"]*\"" "codebase=\"\"" text "${text}")
  file(WRITE "${stage}/update.xml" "${text}")
endif()
if(STRIP)
  execute_process(COMMAND "${STRIP}" ${programs} WORKING_DIRECTORY "${stage}" COMMAND_ERROR_IS_FATAL ANY)
endif()
if(SIGN)
  foreach(program IN LISTS programs)
    execute_process(COMMAND ${SIGN} "${stage}/${program}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endif()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  # The cabinet has the times of its files.
  file(GLOB staged "${stage}/*")
  execute_process(COMMAND touch -d "@$ENV{SOURCE_DATE_EPOCH}" ${staged} COMMAND_ERROR_IS_FATAL ANY)
endif()

# A component keeps its code through all versions: upgrades and shared counts go by it.
set(guids)
foreach(component IN ITEMS module readme doctor host extension choices chrome chromium edge firefox)
  string(UUID ${component}_guid NAMESPACE "${upgrade_code}" NAME "${component}" TYPE SHA1 UPPER)
  list(APPEND guids ${component}_guid=${${component}_guid})
endforeach()
# What is in the package names it: another build is another product to the installer, and replaces this one.
set(contents "${VERSION}")
file(GLOB staged RELATIVE "${stage}" "${stage}/*")
list(SORT staged)
foreach(file IN LISTS staged)
  file(SHA256 "${stage}/${file}" hash)
  string(APPEND contents " ${hash}")
endforeach()
string(UUID product_code NAMESPACE "${upgrade_code}" NAME "product ${contents}" TYPE SHA1 UPPER)
string(UUID package_code NAMESPACE "${upgrade_code}" NAME "package ${contents}" TYPE SHA1 UPPER)

set(name "${KSV_DESCRIPTION} (${bits}-bit)")
set(definitions
    ProductCode=${product_code} UpgradeCode=${upgrade_code} Version=${VERSION} Name=${name} Vendor=${KSV_VENDOR}
    Description=${KSV_DESCRIPTION} HelpLink=${KSV_HELP_LINK} ProgramFiles=${program_files} Win64=${win64} ${guids})
if(DOCTOR)
  list(APPEND definitions Doctor=yes)
endif()
if(BRIDGE)
  list(APPEND definitions Bridge=yes)
endif()
list(TRANSFORM definitions PREPEND "-D;")
execute_process(COMMAND "${WIXL}" -a ${ARCH} ${definitions} -o package.msi ksv.wxs WORKING_DIRECTORY "${stage}"
                COMMAND_ERROR_IS_FATAL ANY)

# 0x100: a rollback action, which runs when a later action fails
set(queries)
foreach(action IN ITEMS WithdrawPlugin RestorePlugin UndoBridge RestoreBridge)
  list(APPEND queries "UPDATE CustomAction SET Type = 3393 WHERE Action = '${action}'")
endforeach()
if(BRIDGE)
  # An upgrade leaves out the features that were absent before, unless it is given others. Those of level 2 are not installed
  # by default.
  set(upgrades "PREVIOUSVERSION AND NOT Installed")
  list(APPEND queries
    "CREATE TABLE `Condition` (`Feature_` CHAR(38) NOT NULL, `Level` INT NOT NULL, `Condition` CHAR(255) PRIMARY KEY `Feature_`, `Level`)"
    "INSERT INTO `Condition` (`Feature_`, `Level`, `Condition`) VALUES ('bridge', 2, '${upgrades} AND NOT PREVIOUSHOST AND NOT PREVIOUSCHROME AND NOT PREVIOUSCHROMIUM AND NOT PREVIOUSEDGE AND NOT PREVIOUSFIREFOX')")
  set(sequence 1420)
  # Adds a name to the list in a property of the installer's, if the condition is true there.
  macro(add_name_if condition property name)
    list(APPEND queries
      "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('${property}.${name}', 51, '${property}', '[${property}]${name},')"
      "INSERT INTO InstallExecuteSequence (Action, Condition, Sequence) VALUES ('${property}.${name}', '${condition}', ${sequence})")
    math(EXPR sequence "${sequence} + 1")
  endmacro()
  foreach(browser IN ITEMS chrome chromium edge firefox)
    string(TOUPPER "PREVIOUS${browser}" previous)
    list(APPEND queries
      "INSERT INTO `Condition` (`Feature_`, `Level`, `Condition`) VALUES ('${browser}', 2, '${upgrades} AND NOT ${previous}')")
    # For the bridge's actions: the browsers that are chosen after this installation, and before it.
    add_name_if("&${browser}>=3 OR (!${browser}>=3 AND NOT &${browser}=2)" BrowsersAfter ${browser})
    add_name_if("!${browser}>=3" BrowsersBefore ${browser})
  endforeach()
endif()
# Settings that wixl does not support. (-s comes last: msibuild ignores options after it.)
execute_process(
  COMMAND "${MSIBUILD}" package.msi -q
    ${queries}
    # 0x300: both ends of the version range are included
    "DELETE FROM Upgrade WHERE ActionProperty = 'OLDERFOUND'"
    "INSERT INTO Upgrade (UpgradeCode, VersionMin, VersionMax, Attributes, ActionProperty) VALUES ('{${upgrade_code}}', '0.0.0', '${VERSION}', 768, 'OLDERFOUND')"
    # the folders of the module and of the host that are installed now, whatever their version
    "CREATE TABLE `CompLocator` (`Signature_` CHAR(72) NOT NULL, `ComponentId` CHAR(38) NOT NULL, `Type` INT PRIMARY KEY `Signature_`)"
    "INSERT INTO CompLocator (Signature_, ComponentId, Type) VALUES ('previous', '{${module_guid}}', 1)"
    "INSERT INTO AppSearch (Property, Signature_) VALUES ('PREVIOUSFOLDER', 'previous')"
    "INSERT INTO CompLocator (Signature_, ComponentId, Type) VALUES ('host', '{${host_guid}}', 1)"
    "INSERT INTO AppSearch (Property, Signature_) VALUES ('PREVIOUSHOST', 'host')"
    # the properties that the installer passes to its elevated process; the PREVIOUS… must not come from the command line
    "UPDATE Property SET Value = 'OLDERFOUND;NEWERFOUND;INSTALLFOLDER;SITES;FORCEINSTALL' WHERE Property = 'SecureCustomProperties'"
    # removes the vendor's folder too when it is empty
    "UPDATE RemoveFile SET DirProperty = 'VENDORFOLDER' WHERE FileKey = 'vendor'"
    # a module without a version would count as older than any that has one; only files without a version have a hash
    "UPDATE File SET Version = '${KSV_FILE_VERSION}.0', Language = '1033' WHERE File = 'module'"
    "DELETE FROM MsiFileHash WHERE File_ = 'module'"
    -s "${name} ${VERSION}" "${KSV_VENDOR}" "${platform};1033" "{${package_code}}"
  WORKING_DIRECTORY "${stage}" COMMAND_ERROR_IS_FATAL ANY)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/set-package-time" "${stage}/package.msi" "$ENV{SOURCE_DATE_EPOCH}"
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
if(SIGN)
  execute_process(COMMAND ${SIGN} "${stage}/package.msi" COMMAND_ERROR_IS_FATAL ANY)
endif()
file(RENAME "${stage}/package.msi" "${OUTPUT}")
file(REMOVE_RECURSE "${stage}")
