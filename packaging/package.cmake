# What is installed, and the packages made of it: kestu, kestu-media (what measures videos, and brings FFmpeg's
# libraries) and kestu-sandbox. scripts/package makes them.

set(KESTU_BASH_COMPLETIONS share/bash-completion/completions CACHE STRING "Where bash looks for completions, below the prefix")
set(KESTU_ZSH_COMPLETIONS share/zsh/site-functions CACHE STRING "Where zsh looks for completions, below the prefix")

install(TARGETS kestu RUNTIME DESTINATION bin COMPONENT program)
install(TARGETS kestu-program LIBRARY DESTINATION lib/kestu COMPONENT program)
if(TARGET kestu-media)
  install(TARGETS kestu-media LIBRARY DESTINATION lib/kestu COMPONENT media)
endif()
if(TARGET kestu-sandbox)
  install(TARGETS kestu-sandbox RUNTIME DESTINATION bin COMPONENT sandbox)
endif()

# The pages to read, the schemas of the answers, and the workflows for a CI.
install(DIRECTORY docs/ DESTINATION share/doc/kestu COMPONENT program)

# The program itself knows what completes.
function(install_completion shell folder name)
  install(CODE "
    set(file \"${PROJECT_BINARY_DIR}/completions/${shell}/${name}\")
    file(MAKE_DIRECTORY \"${PROJECT_BINARY_DIR}/completions/${shell}\")
    execute_process(COMMAND \"$<TARGET_FILE:kestu>\" --generate-completion-script ${shell}
      OUTPUT_FILE \"\${file}\" COMMAND_ERROR_IS_FATAL ANY)
    file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${folder}\" TYPE FILE FILES \"\${file}\")" COMPONENT program)
endfunction()
if(NOT CMAKE_CROSSCOMPILING)
  install_completion(bash ${KESTU_BASH_COMPLETIONS} kestu)
  install_completion(zsh ${KESTU_ZSH_COMPLETIONS} _kestu)
  install_completion(fish share/fish/vendor_completions.d kestu.fish)
endif()

# As the systems keep the manual's pages: packed, where gzip is there to do it.
find_program(GZIP gzip)
install(CODE "
  file(GLOB pages \"${MANUAL}/*.[17]\")
  set(suffix \"\")
  if(NOT \"${GZIP}\" MATCHES NOTFOUND)
    execute_process(COMMAND \"${GZIP}\" -9nkf \${pages} COMMAND_ERROR_IS_FATAL ANY)
    set(suffix .gz)
  endif()
  foreach(section 1 7)
    file(GLOB pages \"${MANUAL}/*.\${section}\${suffix}\")
    file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/man/man\${section}\" TYPE FILE FILES \${pages})
  endforeach()" COMPONENT program)

set(CPACK_PACKAGE_NAME kestu)
set(CPACK_PACKAGE_VENDOR Kestu)
set(CPACK_PACKAGE_CONTACT "Kestu <support@kestu.com>")
set(CPACK_PACKAGE_HOMEPAGE_URL https://kestu.com)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Manage App Store apps from the terminal")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL program media sandbox)
set(CPACK_ARCHIVE_FILE_NAME kestu-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
"Manage App Store apps from the terminal
 The listing, screenshots, builds, versions, prices, in-app events and flags
 of your apps, kept in their repository and sent from it. Changes that reach
 customers wait for your approval in the kestu app.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME kestu)
# What the program loads only when it needs it, no dependency is read from.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libcurl4, ca-certificates, unzip")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "kestu-media (= ${PROJECT_VERSION}), libsecret-1-0, git")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "kestu-sandbox")

set(CPACK_COMPONENT_MEDIA_DESCRIPTION
"What kestu measures app previews with
 Videos are checked before they are sent: their length, size, frame rate and
 sound. Without it they are sent unchecked.")
set(CPACK_DEBIAN_MEDIA_PACKAGE_NAME kestu-media)
set(CPACK_DEBIAN_MEDIA_PACKAGE_ENHANCES kestu)

set(CPACK_COMPONENT_SANDBOX_DESCRIPTION
"A stand-in of the Kestu service, on this machine alone
 To try kestu without an account, and to test what runs it.")
set(CPACK_DEBIAN_SANDBOX_PACKAGE_NAME kestu-sandbox)
include(CPack)
