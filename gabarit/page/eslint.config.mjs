// Lints the page's scripts as the one script that the build makes of them: page_template.cpp.mjs.
const browser = `AudioContext Blob DecompressionStream Event HTMLSelectElement ImageData Option ResizeObserver Response
    StereoPannerNode URL WheelEvent atob clearInterval document getComputedStyle location requestAnimationFrame
    setInterval setTimeout window`;

export default [
    {
        languageOptions: {
            ecmaVersion: 2022,
            sourceType: "module",
            globals: Object.fromEntries(browser.split(/\s+/).map((name) => [name, "readonly"])),
        },
        rules: {
            "eqeqeq": "error",
            "no-redeclare": "error",
            "no-shadow": "error",
            "no-undef": "error",
            "no-unused-vars": "error",
            "no-use-before-define": ["error", {functions: false}],
            "no-var": "error",
            "prefer-const": "error",
        },
    },
];
