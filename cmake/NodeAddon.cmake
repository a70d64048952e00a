# kavrin_node_addon(target): makes a MODULE library a Node addon, a ".node" file without prefix whose
# Node-API functions are the host process's.
#
# On Linux the host resolves them. On Windows a library must say which file its imports come from;
# they are imported from "node.exe", delay-loaded, and support/host_binding_windows.cpp binds them
# to the process that loads the addon, whatever its name.
function(kavrin_node_addon target)
  target_compile_definitions(${target} PRIVATE NAPI_VERSION=8)
  target_include_directories(${target} SYSTEM PRIVATE ${KAVRIN_NODE_API_INCLUDE_DIR})
  set_target_properties(${target} PROPERTIES PREFIX "" SUFFIX ".node")
  if(WIN32)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/support/host_binding_windows.cpp)
    target_link_libraries(${target} PRIVATE kavrin_node_imports)
  endif()
endfunction()

if(NOT WIN32)
  return()
endif()

# The import library, made of the lists of symbols that come with the headers.
set(definitions_dir ${KAVRIN_NODE_API_INCLUDE_DIR}/../def)
set(symbols "")
foreach(part js_native_api node_api)
  file(STRINGS ${definitions_dir}/${part}.def lines REGEX "^(napi|node_api)_")
  list(APPEND symbols ${lines})
endforeach()
list(JOIN symbols "\n" symbols)
set(imports_dir ${PROJECT_BINARY_DIR}/node_imports)
set(definitions ${imports_dir}/node.def)
file(WRITE ${definitions} "NAME node.exe\nEXPORTS\n${symbols}\n")

add_library(kavrin_node_imports INTERFACE)
if(MSVC)
  set(library node_imports.lib)
  set(make_library ${CMAKE_AR} /nologo /def:node.def /out:${library} /machine:x64)
  target_link_libraries(kavrin_node_imports INTERFACE delayimp)
  target_link_options(kavrin_node_imports INTERFACE /DELAYLOAD:node.exe)
else()
  # The name as given here becomes part of a symbol that host_binding_windows.cpp uses.
  set(library libnode_imports.a)
  set(make_library ${CMAKE_DLLTOOL} -d node.def --output-delaylib ${library})
endif()
add_custom_command(OUTPUT ${imports_dir}/${library} COMMAND ${make_library}
                   WORKING_DIRECTORY ${imports_dir} DEPENDS ${definitions} VERBATIM)
add_custom_target(kavrin_node_import_library DEPENDS ${imports_dir}/${library})
add_dependencies(kavrin_node_imports kavrin_node_import_library)
target_link_libraries(kavrin_node_imports INTERFACE ${imports_dir}/${library})
