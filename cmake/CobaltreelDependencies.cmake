# Everything comes from the distribution's packages; scripts/packages.txt lists them.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Qml Quick Svg DBus)
find_package(QCoro6 REQUIRED COMPONENTS Coro Core)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(CLI11 2.1 REQUIRED)

pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET
    libavformat libavcodec libavutil libswresample libswscale)
pkg_check_modules(X264 REQUIRED IMPORTED_TARGET x264)
pkg_check_modules(X265 REQUIRED IMPORTED_TARGET x265)
pkg_check_modules(IMAGEQUANT REQUIRED IMPORTED_TARGET imagequant)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET
    xcb xcb-shm xcb-shape xcb-randr xcb-xfixes xcb-damage xcb-composite xcb-xinput xcb-res xcb-screensaver)
pkg_check_modules(XCB_XTEST REQUIRED IMPORTED_TARGET xcb-xtest)
pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
pkg_check_modules(EVDEV REQUIRED IMPORTED_TARGET libevdev)

# libyuv ships neither a pkg-config file nor a CMake package.
find_library(LIBYUV_LIBRARY yuv REQUIRED)
find_path(LIBYUV_INCLUDE_DIR libyuv.h REQUIRED)
add_library(LibYuv INTERFACE)
target_link_libraries(LibYuv INTERFACE ${LIBYUV_LIBRARY})
target_include_directories(LibYuv SYSTEM INTERFACE ${LIBYUV_INCLUDE_DIR})

# Nor does giflib everywhere.
find_library(GIF_LIBRARY gif REQUIRED)
add_library(GifLib INTERFACE)
target_link_libraries(GifLib INTERFACE ${GIF_LIBRARY})

# OpenCV's CMake package comes only with all of its modules and what those need; these three are enough.
find_path(OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
add_library(OpenCv INTERFACE)
target_include_directories(OpenCv SYSTEM INTERFACE ${OPENCV_INCLUDE_DIR})
foreach(module core imgproc dnn)
    find_library(OPENCV_${module}_LIBRARY opencv_${module} REQUIRED)
    target_link_libraries(OpenCv INTERFACE ${OPENCV_${module}_LIBRARY})
endforeach()
