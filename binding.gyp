{
  "variables": {
    "cxx_standard": "<!(node scripts/cxx-standard.js \"<(node_root_dir)\")"
  },
  "target_defaults": {
    "include_dirs": ["src/native"],
    "cflags_cc!": ["-fno-exceptions", "-fno-rtti"],
    "cflags_cc": ["-std=<(cxx_standard)", "-fexceptions", "-O2"],
    "cflags_cc/": [["exclude", "^-std=(gnu|c)\\+\\+(98|03|0x|11|1y|14)$"]],
    "xcode_settings": {
      "GCC_ENABLE_CPP_EXCEPTIONS": "YES",
      "CLANG_CXX_LANGUAGE_STANDARD": "<(cxx_standard)",
      "OTHER_CPLUSPLUSFLAGS": ["-std=<(cxx_standard)", "-O2"]
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
      "dependencies": ["core"],
      "conditions": [["OS=='linux'", {"libraries": ["-ldl"]}]]
    },
    {
      "target_name": "utils_promises",
      "sources": ["<!@(node scripts/list-sources.js promises)"],
      "include_dirs": ["<!(node -p \"require('node-addon-api').include_dir\")"],
      "defines": ["NAPI_VERSION=3", "NODE_ADDON_API_CPP_EXCEPTIONS"],
      "dependencies": ["core"],
      "conditions": [["OS=='linux'", {"libraries": ["-ldl"]}]]
    }
  ]
}
