# The build machine's RapidJSON, which is headers only, for a cross build: its folder alone, because
# what else is in the build machine's include folder is for another system.
find_path(RapidJSON_PARENT rapidjson/document.h PATHS /usr/include /usr/local/include
          NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(RapidJSON REQUIRED_VARS RapidJSON_PARENT)
set(headers ${PROJECT_BINARY_DIR}/header_libraries)
file(MAKE_DIRECTORY ${headers})
file(CREATE_LINK ${RapidJSON_PARENT}/rapidjson ${headers}/rapidjson SYMBOLIC)
include_directories(SYSTEM ${headers})
