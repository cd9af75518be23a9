# The German texts of vynhost/base/messages/de.po, compiled in: <result> is the source that has them. gettext's msgfmt
# checks the file on the way, placeholders included.
function(vyn_message_catalogue result)
  find_program(MSGFMT msgfmt)
  if(NOT MSGFMT)
    message(FATAL_ERROR "msgfmt (gettext) is missing: ./check installs what the build needs")
  endif()
  set(from ${PROJECT_SOURCE_DIR}/vynhost/base/messages/de.po)
  set(script ${PROJECT_SOURCE_DIR}/cmake/bytes-as-source.cmake)
  set(folder ${CMAKE_BINARY_DIR}/messages)
  file(MAKE_DIRECTORY ${folder})
  add_custom_command(OUTPUT ${folder}/german.cpp
    COMMAND ${MSGFMT} --check-format --endianness=little --no-hash -o ${folder}/de.mo ${from}
    COMMAND ${CMAKE_COMMAND} -D FROM=${folder}/de.mo -D TO=${folder}/german.cpp -P ${script}
    DEPENDS ${from} ${script} VERBATIM)
  set(${result} ${folder}/german.cpp PARENT_SCOPE)
endfunction()
