# The site that scripts/docs builds.
from pathlib import Path

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
html_search_scorer = str(Path(__file__).with_name("scorer.js"))


def setup(app):
    from sphinx.domains.c import CDomain
    from sphinx.search import IndexBuilder

    # Titles come in the order in which pages were read, which is another each time.
    def freeze(index, plain=IndexBuilder.freeze):
        index._all_titles = dict(sorted(index._all_titles.items()))
        return plain(index)

    IndexBuilder.freeze = freeze

    class Names(CDomain):
        """C without the parameters of functions, which a search for a name would drown in."""

        def get_objects(self):
            return (found for found in super().get_objects() if found[2] != "functionParam")

    app.add_domain(Names, override=True)
