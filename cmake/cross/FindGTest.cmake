# GoogleTest from its sources, as Debian's package googletest brings them, for a cross build.
find_path(GTest_SOURCE_DIR src/gtest-all.cc PATHS /usr/src/googletest/googletest
          NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GTest REQUIRED_VARS GTest_SOURCE_DIR)
if(NOT TARGET GTest::gtest)
  add_library(gtest_from_sources STATIC ${GTest_SOURCE_DIR}/src/gtest-all.cc)
  target_include_directories(gtest_from_sources SYSTEM PUBLIC ${GTest_SOURCE_DIR}/include)
  target_include_directories(gtest_from_sources PRIVATE ${GTest_SOURCE_DIR})
  add_library(gtest_main_from_sources STATIC ${GTest_SOURCE_DIR}/src/gtest_main.cc)
  target_link_libraries(gtest_main_from_sources PUBLIC gtest_from_sources)
  add_library(GTest::gtest ALIAS gtest_from_sources)
  add_library(GTest::gtest_main ALIAS gtest_main_from_sources)
endif()
