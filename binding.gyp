{
  "variables": {
    "cxx_standard": "<!(node scripts/cxx-standard.js \"<(node_root_dir)\")",
    # node-addon-api's headers, which only the promise face needs; without them that face is left
    # out of a source build and loads from its prebuilt binary.
    "addon_api_dir": "<!(node -e \"try { process.stdout.write(require('node-addon-api').include_dir) } catch (e) {}\")",
    # A core library already built for this architecture (scripts/prebuilds.js builds it once for
    # every host); empty: the core is built here.
    "core_library%": ""
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
    },
    # dlsym, which is in libdl before glibc 2.34.
    "conditions": [["OS=='linux'", {"libraries": ["-ldl"]}]]
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
      "conditions": [["core_library==''", {"dependencies": ["core"]}, {"libraries": ["<(core_library)"]}]]
    }
  ],
  "conditions": [
    ["addon_api_dir!=''", {
      "targets": [
        {
          "target_name": "utils_promises",
          "sources": ["<!@(node scripts/list-sources.js promises)"],
          "include_dirs": ["<(addon_api_dir)"],
          "defines": ["NAPI_VERSION=3", "NODE_ADDON_API_CPP_EXCEPTIONS"],
          "conditions": [["core_library==''", {"dependencies": ["core"]}, {"libraries": ["<(core_library)"]}]]
        }
      ]
    }]
  ]
}
