# What every report contains, as a source: the page's style and script from vynhost/results/report, and the chart
# library that its package.json names, which npm fetches into the build folder as its lock file says (version and
# sum). Sets <result> to the source.
function(vyn_report_parts result)
  set(from ${PROJECT_SOURCE_DIR}/vynhost/results/report)
  set(folder ${CMAKE_BINARY_DIR}/report)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${from}/package-lock.json ${from}/report.css ${from}/report.js ${from}/report_parts.cpp.in)

  file(SHA256 ${from}/package-lock.json wanted)
  set(fetched "")
  if(EXISTS ${folder}/fetched)
    file(READ ${folder}/fetched fetched)
  endif()
  if(NOT wanted STREQUAL fetched)
    find_program(NPM npm)
    if(NOT NPM)
      message(FATAL_ERROR "npm is missing: ./check installs what the build needs")
    endif()
    file(COPY ${from}/package.json ${from}/package-lock.json DESTINATION ${folder})
    execute_process(COMMAND ${NPM} ci --ignore-scripts --no-audit --no-fund --prefer-offline
      WORKING_DIRECTORY ${folder} RESULT_VARIABLE failed OUTPUT_VARIABLE said ERROR_VARIABLE said)
    if(failed)
      message(FATAL_ERROR "npm can't fetch the chart library of the reports:\n${said}")
    endif()
    file(WRITE ${folder}/fetched ${wanted})
  endif()

  file(READ ${folder}/node_modules/uplot/LICENSE VYN_CHART_LICENCE)
  file(READ ${folder}/node_modules/uplot/dist/uPlot.iife.min.js VYN_CHART_SCRIPT)
  file(READ ${folder}/node_modules/uplot/dist/uPlot.min.css VYN_CHART_STYLE)
  file(READ ${from}/report.css VYN_REPORT_STYLE)
  file(READ ${from}/report.js VYN_REPORT_SCRIPT)
  configure_file(${from}/report_parts.cpp.in ${folder}/report_parts.cpp @ONLY)
  set(${result} ${folder}/report_parts.cpp PARENT_SCOPE)
endfunction()
