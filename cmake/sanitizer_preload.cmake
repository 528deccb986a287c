# The sanitizer runtimes an uninstrumented program (gst-launch-1.0, lv2apply, jalv) must preload to
# load our sanitized plugins: a list joined by ':' for LD_PRELOAD, empty in plain builds.
function(qx_sanitizer_preload out)
  set(libs "")
  if(QX_SANITIZE)
    foreach(lib libasan.so libubsan.so)
      execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${lib} OUTPUT_VARIABLE path
                      OUTPUT_STRIP_TRAILING_WHITESPACE)
      list(APPEND libs ${path})
    endforeach()
  endif()
  list(JOIN libs ":" libs)
  set(${out} "${libs}" PARENT_SCOPE)
endfunction()
