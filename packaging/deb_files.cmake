# Run by cpack on the package's files once they are installed in its
# staging folder, before it packs them (CPACK_PRE_BUILD_SCRIPTS):
#   - the binaries are stripped as Debian's dh_strip does: no symbols, no
#     .comment or .note section; the bitbase library keeps only the
#     symbols that it exports;
#   - permissions are Debian's: folders and programs 0755, the rest (the
#     library among them) 0644, whatever the umask of the build was.
file(GLOB_RECURSE entries LIST_DIRECTORIES true "${CPACK_TEMPORARY_DIRECTORY}/*")
list(SORT entries)
foreach(entry IN LISTS entries)
  if(IS_SYMLINK "${entry}")
    continue()
  elseif(IS_DIRECTORY "${entry}")
    file(CHMOD "${entry}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
         GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    continue()
  endif()
  file(READ "${entry}" magic LIMIT 4 HEX)
  set(program OFF)
  if(magic STREQUAL "7f454c46")
    if(entry MATCHES "\\.(so[.0-9]*|dll)$")
      set(strip_options --strip-unneeded)
    else()
      set(strip_options)
      set(program ON)
    endif()
    execute_process(COMMAND "${CPACK_ORVO_STRIP}" --remove-section=.comment --remove-section=.note
                            ${strip_options} "${entry}"
                    RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
      message(FATAL_ERROR "cannot strip ${entry}")
    endif()
  endif()
  if(program)
    file(CHMOD "${entry}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
         GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  else()
    file(CHMOD "${entry}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  endif()
endforeach()
