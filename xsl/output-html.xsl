<?xml version="1.0"?>
<!-- Single HTML as an HTML5 page in UTF-8. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform" version="1.0">

<xsl:import href="output-common.xsl"/>

<!-- "about:legacy-compat" is HTML5's doctype for XSLT processors, which cannot
     write the bare one. -->
<xsl:output method="html" encoding="UTF-8" indent="no" doctype-system="about:legacy-compat"/>

</xsl:stylesheet>
