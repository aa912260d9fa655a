# Settings every target of the project shares, applied per target (no global flags).

# C++20, position-independent code (everything may end up in the plug-in), warnings, and the
# sanitizer instrumentation chosen with QUILBY_SANITIZER.
function(quilby_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra $<$<BOOL:${QUILBY_WERROR}>:-Werror>)
  if(QUILBY_THREAD_SAFETY_ANALYSIS)
    # Clang proves the locking annotations of util/mutex.h; any finding fails the build.
    target_compile_options(${target} PRIVATE -Wthread-safety -Werror=thread-safety)
  endif()
  if(QUILBY_SANITIZER STREQUAL "address-undefined")
    # float-cast-overflow is not part of "undefined": a double converted to an integer it does not
    # fit is undefined all the same.
    set(flags -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
              -fno-omit-frame-pointer)
  elseif(QUILBY_SANITIZER STREQUAL "thread")
    set(flags -fsanitize=thread -fno-omit-frame-pointer)
  elseif(QUILBY_SANITIZER STREQUAL "fuzzer")
    # Coverage for libFuzzer plus the memory and undefined-behaviour checks (clang only).
    set(flags -fsanitize=fuzzer-no-link,address,undefined,float-cast-overflow
              -fno-sanitize-recover=all -fno-omit-frame-pointer)
  elseif(NOT QUILBY_SANITIZER STREQUAL "")
    message(FATAL_ERROR "QUILBY_SANITIZER must be empty, address-undefined, thread or fuzzer")
  endif()
  if(flags)
    target_compile_options(${target} PRIVATE ${flags})
    target_link_options(${target} PRIVATE ${flags})
  endif()
endfunction()

# Fails the build of `target` when a file of the layer in the current directory (src/<layer>/)
# includes a header of a layer above it (scripts/check-layering). Runs again whenever a file of
# the layer changes.
function(quilby_layering_check target)
  get_filename_component(layer ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${layer}.layering)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-layering ${PROJECT_SOURCE_DIR} ${layer}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${files} ${PROJECT_SOURCE_DIR}/scripts/check-layering
    COMMENT "Checking that layer ${layer} includes no layer above it"
    VERBATIM)
  add_custom_target(${target}_layering DEPENDS ${stamp})
  add_dependencies(${target} ${target}_layering)
endfunction()

# A static library of the plug-in's layers: quilby_library(name ALIAS ns::name SOURCES ... DEPS ...)
function(quilby_library name)
  cmake_parse_arguments(ARG "" "ALIAS" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  quilby_layering_check(${name})
  if(ARG_ALIAS)
    add_library(${ARG_ALIAS} ALIAS ${name})
  endif()
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  # These layers end up inside shared libraries that export only their C interfaces.
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  quilby_target_defaults(${name})
endfunction()
