# The site that scripts/docs builds.
project = "moltelib"
html_title = "moltelib"
html_theme = "furo"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_copyright = False
smartquotes = False  # texts stand as the library has them
extensions = ["myst_parser"]
myst_heading_anchors = 3
language = "en"
primary_domain = "c"
highlight_language = "none"
add_function_parentheses = False
# Types of C itself, which have no page here.
nitpick_ignore_regex = [
    ("c:identifier", r"u?int(8|16|32|64)_t|size_t|wchar_t|FILE|tm|va_list|_stat64"),
]
