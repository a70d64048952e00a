# Header-only libraries of the build machine, for a cross build: their folders alone, because what
# else is in the build machine's include folder is for another system.
find_path(KAVRIN_RAPIDJSON_PARENT rapidjson/document.h NO_CMAKE_FIND_ROOT_PATH
          PATHS /usr/include /usr/local/include NO_DEFAULT_PATH REQUIRED)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/header_libraries)
file(CREATE_LINK ${KAVRIN_RAPIDJSON_PARENT}/rapidjson
     ${PROJECT_BINARY_DIR}/header_libraries/rapidjson SYMBOLIC)
target_include_directories(kavrin_options SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/header_libraries)
