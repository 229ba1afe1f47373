{
  "target_defaults": {
    "include_dirs": ["src/native"],
    "cflags_cc!": ["-fno-exceptions", "-fno-rtti"],
    "cflags_cc": ["-std=gnu++17", "-fexceptions", "-O2"],
    "xcode_settings": {
      "GCC_ENABLE_CPP_EXCEPTIONS": "YES",
      "CLANG_CXX_LANGUAGE_STANDARD": "gnu++17",
      "OTHER_CPLUSPLUSFLAGS": ["-O2"]
    }
  },
  "targets": [
    {
      "target_name": "core",
      "type": "static_library",
      "sources": ["<!@(node scripts/list-sources.js core)"],
      "cflags": ["-fPIC"],
      "xcode_settings": {"GCC_DYNAMIC_NO_PIC": "NO"}
    },
    {
      "target_name": "utils",
      "sources": ["<!@(node scripts/list-sources.js utils)"],
      "dependencies": ["core"]
    },
    {
      "target_name": "utils_promises",
      "sources": ["<!@(node scripts/list-sources.js promises)"],
      "include_dirs": ["<!(node -p \"require('node-addon-api').include_dir\")"],
      "defines": ["NAPI_VERSION=8", "NODE_ADDON_API_CPP_EXCEPTIONS"],
      "dependencies": ["core"]
    }
  ]
}
