# Reference data for the Niederr tests from GSL's base-2 Niederreiter
# sequence -> tests/data/niederr_directions_gsl.txt (target
# niederr_gsl_reference_data).  Only where GSL is installed; not in `all`.
find_path(XEBRUK_GSL_INCLUDE_DIR gsl/gsl_qrng.h)
find_library(XEBRUK_GSL_LIBRARY gsl)
find_library(XEBRUK_GSLCBLAS_LIBRARY gslcblas)
if(XEBRUK_GSL_INCLUDE_DIR AND XEBRUK_GSL_LIBRARY AND XEBRUK_GSLCBLAS_LIBRARY)
  add_executable(niederr_gsl_reference EXCLUDE_FROM_ALL
    ${CMAKE_CURRENT_LIST_DIR}/niederr_gsl_reference.cpp)
  target_compile_options(niederr_gsl_reference PRIVATE ${XEBRUK_WARNINGS})
  target_include_directories(niederr_gsl_reference PRIVATE ${XEBRUK_GSL_INCLUDE_DIR})
  target_link_libraries(niederr_gsl_reference PRIVATE ${XEBRUK_GSL_LIBRARY}
                        ${XEBRUK_GSLCBLAS_LIBRARY} m)
  add_custom_target(niederr_gsl_reference_data
    COMMAND niederr_gsl_reference ${PROJECT_SOURCE_DIR}/tests/data/niederr_directions_gsl.txt
    COMMENT "Regenerating tests/data/niederr_directions_gsl.txt from GSL")
endif()
